// service_slot.h - one host service: its name, and the place where its address is kept once found.
//
// A name that was found is never asked for again; a missing one is asked for at every call, so a host may offer it
// late.
//
// Lifetime: static storage; the host owns the entry behind it.
// Threads:  the host's thread only; the slot is a plain word.

#pragma once

#include "plugin/version.h"

template <typename Signature>
class ServiceSlot;

template <typename Result, typename... Arguments>
class ServiceSlot<Result(Arguments...)> {
  public:
    explicit constexpr ServiceSlot(const char* entryName) : entryName_(entryName) {}

    // Whether the host has the service; asks it unless the address is known.
    bool IsBound() {
        if (entry_ == nullptr) entry_ = reinterpret_cast<Result (*)(Arguments...)>(gResolver(entryName_));
        return entry_ != nullptr;
    }

    // Calls the service. Without it: nothing happens, the answer is null or 0.
    Result operator()(Arguments... arguments) { return IsBound() ? entry_(arguments...) : Result(); }

  private:
    const char* entryName_;
    Result (*entry_)(Arguments...) = nullptr;
};
