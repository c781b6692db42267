// service_slot.h - keeps the address of one host service once it has been found.
//
// A filled slot is never resolved again. An empty one is resolved at each call, so a host may offer a service late.
//
// Lifetime: static storage; the host owns the function behind the address.
// Threads:  the host's thread only; the slot is a plain word.

#pragma once

#include "interface/services.h"
#include "plugin/version.h"

template <typename Service, typename Signature = typename Service::Signature>
class ServiceSlot;

template <typename Service, typename Result, typename... Arguments>
class ServiceSlot<Service, Result(Arguments...)> {
  public:
    // Whether the host has the service. Asks the host unless the address is known.
    [[nodiscard]] bool IsBound() {
        if (entry_ == nullptr) entry_ = service::Resolve<Service>(gResolver);
        return entry_ != nullptr;
    }

    // Calls the service. Does nothing and returns null or 0 when the host lacks it.
    Result operator()(Arguments... arguments) { return IsBound() ? entry_(arguments...) : Result(); }

  private:
    Result (*entry_)(Arguments...) = nullptr;
};
