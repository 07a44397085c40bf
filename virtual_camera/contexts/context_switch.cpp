#include "contexts/context_switch.h"

#include <cstdint>
#include <cstring>

namespace vcam {

#ifdef __x86_64__

asm(R"(
    .text
    .globl vcamSwitchStacks
    .hidden vcamSwitchStacks
    .type vcamSwitchStacks, @function
vcamSwitchStacks:
    .cfi_startproc
    endbr64
    pushq %rbp
    pushq %rbx
    pushq %r12
    pushq %r13
    pushq %r14
    pushq %r15
    subq $8, %rsp
    stmxcsr (%rsp)
    fnstcw 4(%rsp)
    movq %rsp, (%rdi)
    movq %rsi, %rsp
    ldmxcsr (%rsp)
    fldcw 4(%rsp)
    addq $8, %rsp
    popq %r15
    popq %r14
    popq %r13
    popq %r12
    popq %rbx
    popq %rbp
    ret
    .cfi_endproc
    .size vcamSwitchStacks, .-vcamSwitchStacks
)");

namespace {
struct Saved {
    uint32_t mxcsr;
    uint16_t controlWord;
    uint16_t unused;
    uint64_t registers[6];
    void (*entry)();
    uint64_t noCaller; // where entry's return address would lie: the ABI's alignment, and an end
};
} // namespace

void *prepareStack(void *top, void (*entry)()) {
    constexpr uint32_t kUsualMxcsr = 0x1F80;
    constexpr uint16_t kUsualControlWord = 0x037F;
    Saved *saved = reinterpret_cast<Saved *>(static_cast<char *>(top) - sizeof(Saved));
    *saved = {kUsualMxcsr, kUsualControlWord, 0, {}, entry, 0};
    return saved;
}

#else

void vcamSwitchStacks(void **, void *) {}

void *prepareStack(void *, void (*)()) {
    return nullptr;
}

#endif

} // namespace vcam
