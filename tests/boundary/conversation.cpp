// conversation.cpp - the modeled routines.

#include "tests/boundary/conversation.h"

namespace {

// Thrown by Script::Send to end a modeled routine early.
struct Raised {
    Raise what;
};

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
        const std::string name = script.Ask("[exception name]") ? "SomeException" : "(null)";
        const std::string reason = script.Ask("[exception reason]") ? "a reason" : "(null)";
        const std::string userInfo = script.Ask("[exception userInfo]") ? "{k = v; }" : "(null)";
        script.expected.log.push_back("NSLog A " + name + ": " + reason + ", Info: " + userInfo);
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
        if (!script.Ask("[filter valueForKey:inputRadius]")) return;
        script.expected.returnsValue = script.Ask("[value doubleValue]");
    });
}

void WriteNumber(Script& script) {
    Guarded(script, [&] {
        if (!script.Ask("[NSNumber numberWithFloat:2.5]")) return;
        script.Send("[filter setValue:forKey:value, inputRadius]");
    });
}

// Retains the value and writes the reply into a word.
void TellStore(Script& script, const std::string& word) {
    const bool replies = script.Ask("[value retain]");
    ++script.expected.valueReferences;
    script.Write(word, replies ? "retained value" : "nil");
}

void TellReadObject(Script& script, const std::string& key, const std::vector<std::string>& classes) {
    Guarded(script, [&] {
        if (!script.Ask("[filter valueForKey:" + key + "]") || !script.Has("PluginNewInstance")) return;
        std::string made;
        for (const std::string& name : classes) {
            if (made.empty() && script.Call("PluginNewInstance", name)) made = name;
        }
        if (made.empty()) return;
        CountMade(script, true, 1);
        TellStore(script, "made " + made + " 0");
        script.expected.returnsValue = true;
    });
}

void ReadImage(Script& script) {
    TellReadObject(script, "inputImage", {"CIImageQOR"});
    if (script.expected.returnsValue) script.Write("made CIImageQOR 1", "nil");
}
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
        if (!script.Ask("[filter valueForKey:inputCubeData]")) return;
        const bool hasBytes = script.Ask("[value bytes]");
        const bool hasLength = script.Ask("[value length]");
        if (!hasBytes || !hasLength) return;
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
        bool isMade = false;
        try {
            if (script.Call("ZEVALockObject", "MemoryBlock")) ++script.expected.blockReferences;
            const bool hasSize = script.Call("memoryBlockGetSize", "MemoryBlock");
            const bool hasData = script.Call("memoryBlockGetPtr", "MemoryBlock") && hasSize;
            isMade = hasData && script.Ask("[NSData alloc]") && script.Ask("[data initWithBytes:length:abcd]");
        } catch (const Raised& raised) {
            // A foreign exception unlocks the block when it unwinds the call. After any Objective-C object it stays
            // locked.
            if (raised.what == Raise::kForeign) unlock();
            throw;
        }
        unlock();
        if (!isMade) return;
        script.Send("[filter setValue:forKey:made data, inputCubeData]");
        script.Send("[made data release]");
    });
}

// Reads an attribute of an object whose cache is filled.
void ReadCachedAttribute(Script& script) {
    if (!script.Ask("[retained attributes objectForKey:inputRadius]")) return;
    script.Send("[NSDictionary class]");
    if (!script.Ask("[value isKindOfClass:NSDictionary]")) return;
    if (!script.Call("PluginNewInstance", "CIAttributeQOR")) return;
    CountMade(script, true, 1);
    script.Write("made CIAttributeQOR 1", "key");
    TellStore(script, "made CIAttributeQOR 0");
    script.expected.returnsValue = true;
}

void ReadAttribute(Script& script) {
    if (!script.Ask("[filter attributes]") || !script.Ask("[attributes retain]")) return;
    script.Write("filterObject 1", "retained attributes");
    ReadCachedAttribute(script);
}

void Construct(Script& script) {
    if (!script.Ask("[CIFilter filterWithName:CIGaussianBlur]")) return;
    const bool replies = script.Ask("[value retain]");
    ++script.expected.valueReferences;
    if (!replies) return;
    script.Write("filterObject 0", "retained value");
    script.Send("[retained value setDefaults]");
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
    if (fault == faults_.services.end()) return true;
    if (fault->second.throwingCall == call) throw Raised{Raise::kForeign};
    const int failing = fault->second.failingCall;
    return failing != RecordingHost::kAlways && failing != call;
}

void Script::Send(const std::string& line) {
    expected.log.push_back(line);
    const auto fault = faults_.messages.find(line);
    if (fault != faults_.messages.end() && fault->second != Raise::kHandled) throw Raised{fault->second};
}

bool Script::Ask(const std::string& line) {
    asked.insert(line);
    Send(line);
    return faults_.nilReplies.count(line) == 0;
}

const std::vector<Scenario>& Scenarios() {
#define SCENARIO(name) \
    { #name, name }
    static const std::vector<Scenario> scenarios = {
        SCENARIO(ReadNumber),          SCENARIO(WriteNumber),    SCENARIO(ReadImage),      SCENARIO(WriteImage),
        SCENARIO(ReadColor),           SCENARIO(WriteColor),     SCENARIO(ReadVector),     SCENARIO(WriteVector),
        SCENARIO(ReadTransform),       SCENARIO(WriteTransform), SCENARIO(ReadColorSpace), SCENARIO(WriteColorSpace),
        SCENARIO(ClearColorSpace),     SCENARIO(ReadData),       SCENARIO(WriteData),      SCENARIO(ReadAttribute),
        SCENARIO(ReadCachedAttribute), SCENARIO(Construct),      SCENARIO(ConstructTwice),
    };
#undef SCENARIO
    return scenarios;
}

Expected Expect(const Scenario& scenario, const Faults& faults, std::set<std::string>* asked) {
    Script script(faults);
    try {
        scenario.tell(script);
    } catch (const Raised& raised) {
        script.expected.thrown = raised.what;
    }
    if (asked != nullptr) asked->merge(script.asked);
    return script.expected;
}
