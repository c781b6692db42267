// message_send.h - the calls by which code for macOS sends messages.
//
// Such code calls one function with the receiver, the selector and the arguments, and that goes on in the method. The
// runtime here answers a method's address instead, so these ask for it and jump there.
//
// Never called from C++: their arguments are the message's.

#pragma once

extern "C" {
// Sends a message; a message to nil answers nil or 0.
void macos_objc_msgSend();

// The same for a reply that is a double. Why another: a double comes back on the x87 stack, so 0.0 must be put there
// for nil, and a value that nobody takes from there would spoil later calculations.
void macos_objc_msgSend_fpret();
}
