#include "support/wide_registers.h"

namespace pixmorph {

namespace {

// The part of xsave's memory that xrstor reads when it has nothing to load but the SSE control register.
struct alignas(64) RegisterImage {
  std::uint8_t x87[24];
  std::uint32_t mxcsr;
  std::uint8_t registers[484];
  std::uint64_t present, compacted, reserved[6];  // no state is present: all get their initial one
};
static_assert(sizeof(RegisterImage) == 576, "512 bytes and a header of 64");

std::uint32_t gStates = 0;

}  // namespace

WideRegisters::WideRegisters(std::uint32_t states) {
  gStates = states;
  LeaveWideRegisters();
}

void LeaveWideRegisters() {
  if (gStates == 0) return;
  RegisterImage image = {};
  __asm__("stmxcsr %0" : "=m"(image.mxcsr));
  __asm__ volatile("xrstor %0" : : "m"(image), "a"(gStates), "d"(0));
}

}  // namespace pixmorph
