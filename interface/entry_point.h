// entry_point.h - how host and module find each other: one exported function, and one resolver passed to it.
//
// The host loads the module, looks up kZEVAentryPoint and calls it once with its resolver. The module asks the resolver
// for each service by name (services.def).
// Threads: the host's loading thread; the resolver may be called later, on the host's thread.

#pragma once

// A function whose type only its caller knows: a service, or an entry of a method table.
using ZEVAentry = void (*)();

// Returns the address of a host service, or null for a name that the host does not know.
using ZEVAresolver = ZEVAentry (*)(const char* name);

// The only function that a module exports, and its type.
inline constexpr const char* kZEVAentryPoint = "ZEVAPluginMain";
using ZEVAmain = void(ZEVAresolver resolver);
