#ifndef PIXMORPH_HOST_RESOLVER_H_
#define PIXMORPH_HOST_RESOLVER_H_

#include <cstdint>
#include <type_traits>

namespace pixmorph {

// The runtime's resolver: the address of the service with that name, or null when it has none.
using REALResolver = void* (*)(const char* name);

// Set once by `REALPluginMain`; null before.
extern REALResolver gResolver;

// One look-up; null before start-up or when the runtime lacks the service. [calls host]
void* ResolveEntry(const char* name);

// How an argument travels: integers narrower than 32 bits are widened, all else stays as it is.
template <class T, bool kNarrow = std::is_integral<T>::value && (sizeof(T) < 4)>
struct WidenedArgument {
  using Type = T;
};
template <class T>
struct WidenedArgument<T, true> {
  using Type = std::conditional_t<std::is_signed<T>::value, std::int32_t, std::uint32_t>;
};
template <class T>
using Widened = typename WidenedArgument<T>::Type;

// One runtime service: its name and the slot that keeps its address once found. Plain memory, initialised
// before any code runs; two threads racing on the first use would store the same address.
template <class Signature>
class HostService;

template <class Result, class... Arguments>
class HostService<Result(Arguments...)> {
 public:
  using Entry = Result (*)(Widened<Arguments>...);

  explicit constexpr HostService(const char* name) : name_(name), entry_(nullptr) {}

  // The service, or null. A service that was missing is looked up again, one that was found never. [calls
  // host]
  Entry Find() {
    if (!entry_) entry_ = reinterpret_cast<Entry>(ResolveEntry(name_));
    return entry_;
  }

  // Calls the service; 0 without touching anything when the runtime lacks it. [calls host]
  Result operator()(Arguments... arguments) {
    const Entry entry = Find();
    if (!entry) return Result();
    return entry(static_cast<Widened<Arguments>>(arguments)...);
  }

 private:
  const char* name_;
  Entry entry_;
};

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_RESOLVER_H_
