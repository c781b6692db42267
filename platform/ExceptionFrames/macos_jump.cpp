// macos_jump.cpp - setjmp and longjmp with six words: the registers that a call preserves, and the return address.
//
//   word 0 ebx, 1 esi, 2 edi, 3 ebp, 4 esp after the return, 5 return address

#include "platform/ExceptionFrames/macos_jump.h"

asm(R"(
    .text
    .p2align 4
    .globl macos_setjmp
    .type macos_setjmp, @function
macos_setjmp:
    .cfi_startproc
    movl 4(%esp), %ecx
    movl %ebx, 0(%ecx)
    movl %esi, 4(%ecx)
    movl %edi, 8(%ecx)
    movl %ebp, 12(%ecx)
    leal 4(%esp), %eax
    movl %eax, 16(%ecx)
    movl 0(%esp), %eax
    movl %eax, 20(%ecx)
    xorl %eax, %eax
    retl
    .cfi_endproc
    .size macos_setjmp, .-macos_setjmp

    .p2align 4
    .globl macos_longjmp
    .hidden macos_longjmp
    .type macos_longjmp, @function
macos_longjmp:
    .cfi_startproc
    movl 4(%esp), %ecx
    movl 0(%ecx), %ebx
    movl 4(%ecx), %esi
    movl 8(%ecx), %edi
    movl 12(%ecx), %ebp
    movl 16(%ecx), %esp
    movl $1, %eax
    jmpl *20(%ecx)
    .cfi_endproc
    .size macos_longjmp, .-macos_longjmp
)");
