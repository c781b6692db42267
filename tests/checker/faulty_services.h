// faulty_services.h - the host's services as the faulty module uses them, and the rules of their use that it can break.

#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include "plugin/zeva.h"

// Whether the rule is to be broken.
inline bool Broken(const std::string& check) {
    static const char* const fault = std::getenv("ZEVA_FAULT");
    return fault != nullptr && check == fault;
}

[[noreturn]] inline void Crash() { std::abort(); }

// What the host has given, and the record version that the module has announced.
inline ZEVAresolver resolver = nullptr;
inline std::int32_t announced = 0;

template <typename Signature>
class Service;

// A service, looked up until it is found; without it a call does nothing and answers null or 0.
template <typename Result, typename... Arguments>
class Service<Result(Arguments...)> {
  public:
    explicit Service(const char* name) : name_(name) {}

    Result operator()(Arguments... arguments) {
        const std::string name = name_;
        const bool keepsFailure = wasAsked_ && Broken("faults.late-services");
        if ((entry_ == nullptr && !keepsFailure) || Broken("faults.looked-up-once")) {
            entry_ = reinterpret_cast<Result (*)(Arguments...)>(resolver(name_));
        }
        wasAsked_ = true;
        if (entry_ == nullptr) {
            // A host that lacks everything for a while is the business of another check.
            const char* other = name == "ZEVAUnlockString" ? "ZEVASetPropValueInt" : "ZEVAUnlockString";
            const auto lacksOnlyThis = [&] { return resolver(other) != nullptr; };
            if (Broken("faults.without-" + name) && lacksOnlyThis()) Crash();
            return Result();
        }
        if constexpr (std::is_void_v<Result>) {
            entry_(arguments...);
        } else {
            const Result result = entry_(arguments...);
            // No call below is made that may fail in a host whose services all work, but that for an exception's class.
            if (!result && !mayFail && Broken("faults.failing-" + name)) Crash();
            return result;
        }
    }

    bool mayFail = false;

  private:
    const char* name_;
    Result (*entry_)(Arguments...) = nullptr;
    bool wasAsked_ = false;
};

// The services that the module uses, each with its name.
inline Service<void(ZEVAclassDefinition*)> registerClass("PluginRegisterClass");
inline Service<ZEVAstringStruct*(const char*, std::int32_t)> buildString("ZEVABuildString");
inline Service<void(ZEVAstringStruct*, std::uint32_t)> setStringEncoding("ZEVASetStringEncoding");
inline Service<std::int32_t(ZEVAstringStruct*, ZEVAstringData*)> getStringData("PluginGetStringData");
inline Service<void(ZEVAstringData*)> disposeStringData("PluginDisposeStringData");
inline Service<void(ZEVAstringStruct*)> unlockString("ZEVAUnlockString");
inline Service<ZEVAobjectStruct*(const char*)> newInstance("PluginNewInstance");
inline Service<void(ZEVAobjectStruct*, const char*, ZEVAstringStruct*)> setStringProperty("ZEVASetPropValueString");
inline Service<void(ZEVAobjectStruct*, const char*, std::int32_t)> setIntegerProperty("ZEVASetPropValueInt");
inline Service<void(ZEVAobjectStruct*)> raise_("RuntimeRaiseException");
inline Service<void(ZEVAobjectStruct*)> lock("ZEVALockObject");
inline Service<void(ZEVAobjectStruct*)> unlock("ZEVAUnlockObject");
inline Service<ZEVAobjectStruct*(std::int32_t)> newBlock("newMemoryBlock");
inline Service<unsigned char*(ZEVAobjectStruct*)> blockBytes("memoryBlockGetPtr");
inline Service<std::int32_t(ZEVAobjectStruct*)> blockSize("memoryBlockGetSize");
