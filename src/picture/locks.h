#ifndef PIXMORPH_PICTURE_LOCKS_H_
#define PIXMORPH_PICTURE_LOCKS_H_

#include <cstdint>

#include "host/types.h"

namespace pixmorph {

class PictureEditor;

// What a locked description's `data` is.
constexpr std::int32_t kDescriptionGdkDrawable = 6;  // a GDK drawable
constexpr std::int32_t kDescriptionHostBitmap = 10;  // a runtime bitmap record, see `HostBitmap`
constexpr std::int32_t kDescriptionCairo = 12;       // a cairo context whose target is an image surface

// Asks for a description of that kind. True: the picture is locked and has to be unlocked once, whatever the
// runtime wrote into `description`. False: nothing is locked (older runtimes want an unlock even then, and
// get it). nil is refused without asking. [calls host]
[[nodiscard]] bool REALLockPictureDescriptionX(REALpictureStruct* picture,
                                               REALpictureDescription* description, std::int32_t kind);

// Unlocks on runtimes that count a refused lock; nothing on newer ones and for nil. [calls host]
void REALUnlockPictureDescriptionAfterFailure(REALpictureStruct* picture);

// Ends the lock that the editor held on the picture; nothing for nil. [calls host]
void UnlockThePicture(PictureEditor* editor, REALpictureStruct* picture);

// The runtime's own count of locks on a picture; 0 for nil. [pure]
std::int32_t GetPictureLockCount(const REALpictureStruct* picture);

// Owns at most one lock of a picture's description. Not the picture: keep a reference as long as the lock.
class DescriptionLock {
 public:
  DescriptionLock() = default;
  DescriptionLock(const DescriptionLock&) = delete;
  DescriptionLock& operator=(const DescriptionLock&) = delete;
  ~DescriptionLock() { Release(); }

  // Locks like `REALLockPictureDescriptionX`. Only for an owner without a lock. [calls host]
  [[nodiscard]] bool Acquire(REALpictureStruct* picture, REALpictureDescription* description,
                             std::int32_t kind);
  // Unlocks now. [calls host]
  void Release();
  // The lock is somebody else's to end from now on.
  void Detach() { picture_ = nullptr; }

 private:
  REALpictureStruct* picture_ = nullptr;
};

// The record behind a description of kind 10. Valid as long as the lock.
class HostBitmap {
 public:
  // The record, or an empty view when the runtime granted something else, nothing, or a bitmap that is not
  // rows of 32-bit pixels.
  [[nodiscard]] static HostBitmap Of(const REALpictureDescription& description);

  explicit operator bool() const { return words_ != nullptr; }
  std::int32_t Width() const { return Word(kHostBitmapWidthWord); }    // pixels
  std::int32_t Height() const { return Word(kHostBitmapHeightWord); }  // pixels
  std::int32_t Word(int index) const { return static_cast<std::int32_t>(words_[index]); }
  // One row address per row, top row first.
  std::uint8_t** RowTable() const;

 private:
  const std::uint32_t* words_ = nullptr;
};

}  // namespace pixmorph

#endif  // PIXMORPH_PICTURE_LOCKS_H_
