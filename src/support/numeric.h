#ifndef PIXMORPH_SUPPORT_NUMERIC_H_
#define PIXMORPH_SUPPORT_NUMERIC_H_

#include <cstdint>

// The only places where a floating-point value becomes an integer and where sizes are multiplied.
// Everything here is pure and always inlined, so that files of any instruction-set level may include it.
namespace pixmorph {

#define PIXMORPH_INLINE static inline __attribute__((always_inline))
#define PIXMORPH_INLINE_MEMBER inline __attribute__((always_inline))

// Truncates toward zero; not a number gives 0, values beyond the range give its nearest end. [pure]
PIXMORPH_INLINE std::int32_t TruncateToInt32(double value) {
  if (!(value == value)) return 0;
  if (value >= 2147483647.0) return INT32_MAX;
  if (value <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(value);
}

// The same for a value that is known to lie inside the range. [pure]
PIXMORPH_INLINE std::int32_t TruncateInRange(double value) { return static_cast<std::int32_t>(value); }

// As TruncateToInt32, for 64 bits. [pure]
PIXMORPH_INLINE std::int64_t TruncateToInt64(double value) {
  if (!(value == value)) return 0;
  if (value >= 9223372036854775807.0) return INT64_MAX;
  if (value <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<std::int64_t>(value);
}

// The absolute value. [pure]
PIXMORPH_INLINE double Magnitude(double x) { return x < 0.0 ? -x : x; }

// Clamps to the range of one 8-bit channel. [pure]
PIXMORPH_INLINE std::uint8_t ClampToByte(std::int64_t value) {
  return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// trunc(value + 0.5) clamped to one 8-bit channel; not a number gives 0. [pure]
PIXMORPH_INLINE std::uint8_t RoundToByte(double value) { return ClampToByte(TruncateToInt32(value + 0.5)); }

// A size in bytes formed step by step; once a step leaves 0 .. 2^31 - 1 the size stays invalid and `Bytes`
// gives -1, which every allocation refuses.
class ByteSize {
 public:
  PIXMORPH_INLINE_MEMBER explicit ByteSize(std::int64_t start) : bytes_(start) { Check(); }
  PIXMORPH_INLINE_MEMBER ByteSize& Times(std::int64_t factor) {
    if (bytes_ < 0 || factor < 0 || factor > INT32_MAX) bytes_ = -1;
    else bytes_ *= factor;
    return Check();
  }
  PIXMORPH_INLINE_MEMBER ByteSize& Plus(std::int64_t more) {
    if (bytes_ < 0 || more < 0 || more > INT32_MAX) bytes_ = -1;
    else bytes_ += more;
    return Check();
  }
  PIXMORPH_INLINE_MEMBER std::int64_t Bytes() const { return bytes_; }

 private:
  PIXMORPH_INLINE_MEMBER ByteSize& Check() {
    if (bytes_ < 0 || bytes_ > INT32_MAX) bytes_ = -1;
    return *this;
  }
  std::int64_t bytes_;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_NUMERIC_H_
