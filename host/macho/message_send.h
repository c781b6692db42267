// message_send.h - the functions with which code for macOS sends messages.
//
// Such code calls one function with the receiver, the selector and the arguments, and that function runs the method.
// The runtime here only returns the address of a method, so these functions look it up and jump there.
//
// They cannot be called from C++: their arguments are those of the message.

#pragma once

extern "C" {
// Sends a message. A message to nil returns nil or 0.
void macos_objc_msgSend();

// Sends a message that returns a double. It needs its own function because a double is returned on the x87 stack: for
// nil, 0.0 must be pushed there, while other messages must not push a value that no caller pops.
void macos_objc_msgSend_fpret();
}
