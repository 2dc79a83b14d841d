#ifndef PIXMORPH_SUPPORT_WIDE_REGISTERS_H_
#define PIXMORPH_SUPPORT_WIDE_REGISTERS_H_

#include <cstdint>

// The registers beyond 128 bits are the whole thread's. 32-bit code can clear the upper parts of eight of
// them only, and there are sixteen or more; after that some processors (Zen 4 among them) go on as if the
// upper parts were in use. Every SSE instruction then keeps them, and so waits for what its destination held
// before: the application's floating-point code, and ours, takes up to four times as long until the thread
// ends.
namespace pixmorph {

// Puts the states that the last WideRegisters was made for into their initial form, which the processor knows
// to be unused. Takes 0.1 us.
void LeaveWideRegisters();

// Does it at the start of a method, since other libraries' code may not have, and at its end, however it ends.
class WideRegisters {
 public:
  // states: beyond SSE's, those that the method's kernels write, as bits of extended control register 0. The
  // operating system has enabled them.
  explicit WideRegisters(std::uint32_t states);
  WideRegisters(const WideRegisters&) = delete;
  WideRegisters& operator=(const WideRegisters&) = delete;
  ~WideRegisters() { LeaveWideRegisters(); }
};

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_WIDE_REGISTERS_H_
