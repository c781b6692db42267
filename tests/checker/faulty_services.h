// faulty_services.h - the host's services as the faulty module calls them, and the rules about calling that it can
// break.
//
// Each service of the list is an object of its wrapper's name, so a call looks as it does in any module:
// ZEVAnewInstance("Jug").

#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include "interface/entry_point.h"
#include "interface/services.h"

// Whether the rule is to be broken.
inline bool Broken(const std::string& check) {
    static const char* const fault = std::getenv("ZEVA_FAULT");
    return fault != nullptr && check == fault;
}

[[noreturn]] inline void Crash() { std::abort(); }

// The host's resolver, and the record version that the module has announced.
inline ZEVAresolver resolver = nullptr;
inline std::int32_t announced = 0;

template <typename Listed, typename Signature = typename Listed::Signature>
class Service;

// A service, resolved until it is found. Without it a call does nothing and returns null or 0.
template <typename Listed, typename Result, typename... Arguments>
class Service<Listed, Result(Arguments...)> {
  public:
    Result operator()(Arguments... arguments) {
        if (!Find()) return Result();
        if constexpr (std::is_void_v<Result>) {
            entry_(arguments...);
        } else {
            const Result result = entry_(arguments...);
            // Where every service works, only the creation of an exception may fail.
            if (!result && !mayFail && Broken(std::string("faults.failing-") + Listed::kName)) Crash();
            return result;
        }
    }

    // Resolves the service unless it has been found; false when the host lacks it.
    bool Find() {
        const bool keepsFailure = wasAsked_ && Broken("faults.late-services");
        if ((entry_ == nullptr && !keepsFailure) || Broken("faults.looked-up-once")) {
            entry_ = service::Resolve<Listed>(resolver);
        }
        wasAsked_ = true;
        if (entry_ == nullptr && Broken(std::string("faults.without-") + Listed::kName) && LacksOnlyThis()) Crash();
        return entry_ != nullptr;
    }

    bool mayFail = false;

  private:
    // Whether the host has other services. Another check covers hosts that lack everything for a while.
    static bool LacksOnlyThis() {
        constexpr bool kIsUnlockString = std::is_same_v<Listed, service::ZEVAUnlockString>;
        return resolver(kIsUnlockString ? service::ZEVASetPropValueInt::kName : service::ZEVAUnlockString::kName) !=
               nullptr;
    }

    typename Listed::Signature* entry_ = nullptr;
    bool wasAsked_ = false;
};

#define SERVICE(name, wrapper, ...) inline Service<service::name> wrapper;
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"

// Resolves every service, so that the module asks for each one of the list, even for those that it never calls.
inline void FindAllServices() {
#define SERVICE(name, wrapper, ...) wrapper.Find();
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"
}
