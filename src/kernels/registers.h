#ifndef PIXMORPH_KERNELS_REGISTERS_H_
#define PIXMORPH_KERNELS_REGISTERS_H_

#include "support/numeric.h"

// 32-bit code has eight vector registers. Compilers, given more values than that, often move the wrong ones
// to memory, even the sums of an inner loop; here they are told.
namespace pixmorph::kernels {

namespace {

// Here a vector is in a register.
template <class Vec>
PIXMORPH_INLINE void KeepInRegister(Vec& vector) {
  __asm__("" : "+x"(vector));
}

// Here all of them are, and no load from behind has been made yet.
template <class Vec>
PIXMORPH_INLINE void KeepInRegisters(Vec& a, Vec& b) {
  __asm__ volatile("" : "+x"(a), "+x"(b) : : "memory");
}
template <class Vec>
PIXMORPH_INLINE void KeepInRegisters(Vec& a, Vec& b, Vec& c, Vec& d) {
  __asm__ volatile("" : "+x"(a), "+x"(b), "+x"(c), "+x"(d) : : "memory");
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_REGISTERS_H_
