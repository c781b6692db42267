// message_send.cpp - sends messages. Assembly, because the arguments must stay where the caller put them.

#include "host/macho/message_send.h"

// On entry the stack holds the return address, the receiver and the selector. The code pushes arguments for the lookup
// and restores the stack before it jumps to the method. The directives let exceptions pass that the initialization of a
// class throws.
asm(R"(
    .text
    .p2align 4
    .globl macos_objc_msgSend
    .hidden macos_objc_msgSend
    .type macos_objc_msgSend, @function
macos_objc_msgSend:
    .cfi_startproc
    pushl %ebx
    .cfi_adjust_cfa_offset 4
    .cfi_rel_offset %ebx, 0
    pushl 12(%esp)
    .cfi_adjust_cfa_offset 4
    pushl 12(%esp)
    .cfi_adjust_cfa_offset 4
    calll .Lhere
.Lhere:
    .cfi_adjust_cfa_offset 4
    popl %ebx
    .cfi_adjust_cfa_offset -4
    addl $_GLOBAL_OFFSET_TABLE_+(.-.Lhere), %ebx
    calll objc_msg_lookup@PLT
    addl $8, %esp
    .cfi_adjust_cfa_offset -8
    popl %ebx
    .cfi_adjust_cfa_offset -4
    .cfi_restore %ebx
    jmpl *%eax
    .cfi_endproc
    .size macos_objc_msgSend, .-macos_objc_msgSend

    .p2align 4
    .globl macos_objc_msgSend_fpret
    .hidden macos_objc_msgSend_fpret
    .type macos_objc_msgSend_fpret, @function
macos_objc_msgSend_fpret:
    .cfi_startproc
    cmpl $0, 4(%esp)
    jne macos_objc_msgSend
    fldz
    retl
    .cfi_endproc
    .size macos_objc_msgSend_fpret, .-macos_objc_msgSend_fpret
)");
