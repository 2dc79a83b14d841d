#ifndef PIXMORPH_SUPPORT_OWNED_STRING_H_
#define PIXMORPH_SUPPORT_OWNED_STRING_H_

#include "host/services.h"

namespace pixmorph {

// Owns one reference to a runtime string, or none. Move only.
class HostString {
 public:
  HostString() = default;
  // The reference is already ours.
  explicit HostString(REALstringStruct* adopted) : string_(adopted) {}
  HostString(HostString&& other) noexcept : string_(other.Detach()) {}
  HostString(const HostString&) = delete;
  HostString& operator=(const HostString&) = delete;
  ~HostString() {
    if (string_) REALUnlockString(string_);
  }

  [[nodiscard]] REALstringStruct* Get() const { return string_; }
  // Hands the reference to the caller.
  [[nodiscard]] REALstringStruct* Detach() {
    REALstringStruct* string = string_;
    string_ = nullptr;
    return string;
  }
  explicit operator bool() const { return string_ != nullptr; }

 private:
  REALstringStruct* string_ = nullptr;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_OWNED_STRING_H_
