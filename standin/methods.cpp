#include "standin/methods.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <vector>

#include "standin/faults.h"
#include "standin/internal/state.h"
#include "standin/registrations.h"
#include "standin/runtime.h"

// standinCallAt(function, words, count, offset): pushes the argument words so that the stack pointer is
// `offset` modulo 16 at the call, and returns what the function left in EDX:EAX. Unwinding passes through it.
asm(R"(
        .text
        .globl  standinCallAt
        .hidden standinCallAt
        .type   standinCallAt, @function
standinCallAt:
        .cfi_startproc
        pushl   %ebp
        .cfi_def_cfa_offset 8
        .cfi_offset 5, -8
        movl    %esp, %ebp
        .cfi_def_cfa_register 5
        pushl   %esi
        .cfi_offset 6, -12
        pushl   %edi
        .cfi_offset 7, -16
        movl    12(%ebp), %esi
        movl    16(%ebp), %ecx
        leal    0(,%ecx,4), %eax
        movl    %esp, %edx
        subl    %eax, %edx
        subl    $16, %edx
        andl    $-16, %edx
        addl    20(%ebp), %edx
        movl    %edx, %esp
        movl    %edx, %edi
        cld
        rep movsl
        call    *8(%ebp)
        leal    -8(%ebp), %esp
        popl    %edi
        .cfi_restore 7
        popl    %esi
        .cfi_restore 6
        popl    %ebp
        .cfi_restore 5
        .cfi_def_cfa 4, 4
        ret
        .cfi_endproc
        .size   standinCallAt, .-standinCallAt
)");

extern "C" std::uint64_t standinCallAt(void* function, const std::uint32_t* words, std::size_t count,
                                       std::uint32_t offset);

namespace standin {
namespace {

std::uint32_t stack_offset = 0;

// The argument words of one call, in order.
class Arguments {
 public:
  Arguments& Add(const Ref& handle) { return Word(reinterpret_cast<std::uintptr_t>(handle.Get())); }
  Arguments& Add(int value) { return Word(static_cast<std::uint32_t>(value)); }
  // One byte counts; the rest of the word is whatever the caller's register held.
  Arguments& Add(bool value) { return Word(0xB0071E00u | (value ? 1u : 0u)); }
  Arguments& Add(double value) {
    std::uint32_t halves[2];
    std::memcpy(halves, &value, sizeof halves);
    return Word(halves[0]).Word(halves[1]);
  }
  const std::vector<std::uint32_t>& Words() const { return words_; }

 private:
  Arguments& Word(std::uint32_t word) {
    words_.push_back(word);
    return *this;
  }
  std::vector<std::uint32_t> words_;
};

[[noreturn]] void ThrowRaised(const Ref& raised) {
  throw RuntimeException(ClassOf(raised.Get()), ExceptionMessage(raised.Get()),
                         ExceptionErrorNumber(raised.Get()));
}

std::uint32_t Invoke(const char* name, const Arguments& arguments) {
  const auto method = FindPictureMethod(name);
  if (!method || method->function == nullptr) {
    throw std::runtime_error(std::string(name) + " is not registered");
  }
  TakeRaised();
  InsidePlugin inside;
  const auto& words = arguments.Words();
  return static_cast<std::uint32_t>(
      standinCallAt(method->function, words.data(), words.size(), stack_offset));
}

Ref InvokeForPicture(const char* name, const Arguments& arguments) {
  Ref result = Ref::Adopt(reinterpret_cast<void*>(Invoke(name, arguments)));
  if (const Ref raised = TakeRaised()) ThrowRaised(raised);
  return result;
}

}  // namespace

void SetCallStackOffset(int bytes) { stack_offset = static_cast<std::uint32_t>(bytes) & 12u; }

Ref Scale(const Ref& self, int width, int height, bool antiAlias, int yieldTicks) {
  return InvokeForPicture("ScaleKTZ",
                          Arguments().Add(self).Add(width).Add(height).Add(antiAlias).Add(yieldTicks));
}

Ref ScaleImageAndMask(const Ref& self, int width, int height, bool antiAlias, int yieldTicks) {
  return InvokeForPicture("ScaleImageAndMaskKTZ",
                          Arguments().Add(self).Add(width).Add(height).Add(antiAlias).Add(yieldTicks));
}

Ref Scaling(const Ref& self, int mode, int width, int height, int yield) {
  return InvokeForPicture("ScalingKTZ", Arguments().Add(self).Add(mode).Add(width).Add(height).Add(yield));
}

Ref Blur(const Ref& self, double radius, int yield) {
  return InvokeForPicture("BlurKTZ", Arguments().Add(self).Add(radius).Add(yield));
}

bool DrawPictureF(const Ref& self, const Ref& picture, double x, double y, double alpha, int yield) {
  const std::uint32_t result =
      Invoke("DrawPictureFKTZ", Arguments().Add(self).Add(picture).Add(x).Add(y).Add(alpha).Add(yield));
  if (const Ref raised = TakeRaised()) ThrowRaised(raised);
  return (result & 0xFFu) != 0;
}

}  // namespace standin
