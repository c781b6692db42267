// conversation.cpp - the modeled routines.

#include "tests/boundary/conversation.h"

namespace {

// Thrown by Script::Send to end a modeled routine early.
struct Raised {
    Raise what;
};

constexpr bool kHasFrames = sizeof(void*) == 4;

void CountMade(Script& script, bool made, int references) {
    if (made) script.expected.madeReferences += references;
}

// Models the guard: an NSException from the work is logged, converted and raised in the host.
template <typename Work>
void Guarded(Script& script, Work work) {
    try {
        work();
    } catch (const Raised& raised) {
        if (raised.what != Raise::kNSException) throw;
        script.expected.log.push_back("NSLog A SomeException: a reason, Info: {k = v; }");
        script.expected.log.push_back("NewNSExceptionQOR: SomeException");
        CountMade(script, true, 1);
        script.Call("RuntimeRaiseException", "NSExceptionQOR#1");
        CountMade(script, script.Call("ZEVAUnlockObject", "NSExceptionQOR#1"), -1);
    }
}

void TellRaise(Script& script, const std::string& exceptionClass, const std::string& message) {
    const std::string quoted = "\"" + message + "\"";
    const bool hasString = script.Call("ZEVABuildString", message);
    if (hasString) script.Call("ZEVASetStringEncoding", quoted + " 1536");
    std::string object;
    for (const std::string& name : {exceptionClass, std::string("RuntimeException")}) {
        if (object.empty() && script.Call("PluginNewInstance", name)) object = name + "#1";
    }
    if (!object.empty()) {
        CountMade(script, true, 1);
        script.Call("ZEVASetPropValueString", object + " Message " + (hasString ? quoted : "null"));
        script.Call("ZEVASetPropValueInt", object + " ErrorNumber 0");
        script.Call("RuntimeRaiseException", object);
        CountMade(script, script.Call("ZEVAUnlockObject", object), -1);
    }
    if (hasString) script.Call("ZEVAUnlockString", quoted);
}

void ReadNumber(Script& script) {
    Guarded(script, [&] {
        script.Send("[filter valueForKey:inputRadius]");
        script.Send("[value doubleValue]");
        script.expected.returnsValue = true;
    });
}

void WriteNumber(Script& script) {
    Guarded(script, [&] {
        script.Send("[NSNumber numberWithFloat:2.5]");
        script.Send("[filter setValue:forKey:value, inputRadius]");
    });
}

void TellReadObject(Script& script, const std::string& key, const std::vector<std::string>& classes) {
    Guarded(script, [&] {
        script.Send("[filter valueForKey:" + key + "]");
        if (!script.Has("PluginNewInstance")) return;
        bool made = false;
        for (const std::string& name : classes) made = made || script.Call("PluginNewInstance", name);
        if (!made) return;
        CountMade(script, true, 1);
        script.Send("[value retain]");
        ++script.expected.valueReferences;
        script.expected.returnsValue = true;
    });
}

void ReadImage(Script& script) { TellReadObject(script, "inputImage", {"CIImageQOR"}); }
void ReadColor(Script& script) { TellReadObject(script, "inputColor0", {"CIColorQOR"}); }
void ReadVector(Script& script) { TellReadObject(script, "inputRectangle", {"CIVectorQOR"}); }
void ReadTransform(Script& script) { TellReadObject(script, "inputTransform", {"NSAffineTransformQOR"}); }
void ReadColorSpace(Script& script) { TellReadObject(script, "inputColorSpace", {"CGColorSpaceQOR", "CFObjectQOR"}); }

void TellWriteObject(Script& script, const std::string& written, const std::string& key) {
    Guarded(script, [&] { script.Send("[filter setValue:forKey:" + written + ", " + key + "]"); });
}

void WriteImage(Script& script) { TellWriteObject(script, "value", "inputImage"); }
void WriteColor(Script& script) { TellWriteObject(script, "value", "inputColor0"); }
void WriteVector(Script& script) { TellWriteObject(script, "value", "inputRectangle"); }
void WriteTransform(Script& script) { TellWriteObject(script, "value", "inputTransform"); }
void WriteColorSpace(Script& script) { TellWriteObject(script, "value", "inputColorSpace"); }
void ClearColorSpace(Script& script) { TellWriteObject(script, "nil", "inputColorSpace"); }

void ReadData(Script& script) {
    Guarded(script, [&] {
        script.Send("[filter valueForKey:inputCubeData]");
        script.Send("[value bytes]");
        script.Send("[value length]");
        if (!script.Call("newMemoryBlock", "4")) {
            return TellRaise(script, "OutOfMemoryException", "Failed to allocate a memoryblock with 4 bytes in size.");
        }
        CountMade(script, true, 1);
        script.expected.returnsValue = script.Call("memoryBlockGetPtr", "MemoryBlock");
    });
}

void WriteData(Script& script) {
    const auto unlock = [&] {
        if (script.Call("ZEVAUnlockObject", "MemoryBlock")) --script.expected.blockReferences;
    };
    Guarded(script, [&] {
        if (script.Call("ZEVALockObject", "MemoryBlock")) ++script.expected.blockReferences;
        const bool hasSize = script.Call("memoryBlockGetSize", "MemoryBlock");
        const bool hasData = script.Call("memoryBlockGetPtr", "MemoryBlock") && hasSize;
        try {
            if (hasData) script.Send("[NSData alloc]");
            if (hasData) script.Send("[data initWithBytes:length:abcd]");
        } catch (const Raised& raised) {
            // An exception that unwinds the call unlocks the block. A longjmp does not, and an NSException never does.
            const bool unwinds = raised.what == Raise::kForeign || (raised.what == Raise::kOtherObject && !kHasFrames);
            if (unwinds) unlock();
            throw;
        }
        unlock();
        if (!hasData) return;
        script.Send("[filter setValue:forKey:data, inputCubeData]");
        script.Send("[data release]");
    });
}

void ReadAttribute(Script& script) {
    script.Send("[filter attributes]");
    script.Send("[attributes retain]");
    script.Send("[attributes objectForKey:inputRadius]");
    script.Send("[NSDictionary class]");
    script.Send("[value isKindOfClass:NSDictionary]");
    if (!script.Call("PluginNewInstance", "CIAttributeQOR")) return;
    CountMade(script, true, 1);
    script.Send("[value retain]");
    ++script.expected.valueReferences;
    script.expected.returnsValue = true;
}

void Construct(Script& script) {
    script.Send("[CIFilter filterWithName:CIGaussianBlur]");
    script.Send("[value retain]");
    ++script.expected.valueReferences;
    script.Send("[value setDefaults]");
}

void ConstructTwice(Script& script) {
    TellRaise(script, "UnsupportedOperationException", "Constructor called too often. Object is already initialized.");
}

}  // namespace

bool Script::Has(const std::string& service) {
    if (bound_.count(service) != 0) return true;
    expected.log.push_back("resolve " + service);
    const int lookup = ++lookups_[service];
    const auto fault = faults_.services.find(service);
    const int missing = fault != faults_.services.end() ? fault->second.missingLookups : 0;
    if (missing == RecordingHost::kAlways || lookup <= missing) return false;
    bound_.insert(service);
    return true;
}

bool Script::Call(const std::string& service, const std::string& arguments) {
    if (!Has(service)) return false;
    expected.log.push_back(service + " " + arguments);
    const int call = ++calls_[service];
    const auto fault = faults_.services.find(service);
    const int failing = fault != faults_.services.end() ? fault->second.failingCall : 0;
    return failing != RecordingHost::kAlways && failing != call;
}

void Script::Send(const std::string& line) {
    expected.log.push_back(line);
    const auto fault = faults_.messages.find(line);
    if (fault != faults_.messages.end()) throw Raised{fault->second};
}

const std::vector<Scenario>& Scenarios() {
#define SCENARIO(name) \
    { #name, name }
    static const std::vector<Scenario> scenarios = {
        SCENARIO(ReadNumber),      SCENARIO(WriteNumber),    SCENARIO(ReadImage),      SCENARIO(WriteImage),
        SCENARIO(ReadColor),       SCENARIO(WriteColor),     SCENARIO(ReadVector),     SCENARIO(WriteVector),
        SCENARIO(ReadTransform),   SCENARIO(WriteTransform), SCENARIO(ReadColorSpace), SCENARIO(WriteColorSpace),
        SCENARIO(ClearColorSpace), SCENARIO(ReadData),       SCENARIO(WriteData),      SCENARIO(ReadAttribute),
        SCENARIO(Construct),       SCENARIO(ConstructTwice),
    };
#undef SCENARIO
    return scenarios;
}

Expected Expect(const Scenario& scenario, const Faults& faults) {
    Script script(faults);
    try {
        scenario.tell(script);
    } catch (const Raised& raised) {
        script.expected.thrown = raised.what;
    }
    return script.expected;
}
