// binding.h - the host's classes and objects in a Lua state.
//
//   local photo = CIImageQOR.Open("photo.jpg")        a class is a global value; "." calls its shared methods
//   local blur = CIFilterGaussianBlurQOR()            calling a class constructs an object
//   blur.inputRadius = 8                              properties are fields
//   photo:Crop(photo.Extent)                          methods take a colon
//
// Nothing here knows a particular class: classes, members and types come from the records that the host has read.
//
// Lifetime: the state must be closed before the Host ends. Threads: the host's thread.

#pragma once

#include "host/script/lua.h"

namespace host::script {

// Opens the classes of the current Host in a state. This is a Lua C function; call it in protected mode, without
// arguments.
int OpenBinding(lua_State* lua);

}  // namespace host::script
