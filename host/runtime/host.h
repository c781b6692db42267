// host.h - the runtime that programs use: it loads modules, makes objects of their classes and calls their members.
//
//   host::Host host;
//   host.LoadModule("filters.so");
//   auto filter = host.Construct("CIFilterGaussianBlurQOR");
//   host.Set(filter.Get(), "inputRadius", 10.0);
//   host::Value image = host.Get(filter.Get(), "outputImage");
//
// One Host at a time: modules reach the host through plain functions that carry no context, so those work for the
// current one.
// Failure: HostError when the host refuses, HostException when a module raised (errors.h).
// Threads: the thread that made the Host.

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/call_scope.h"
#include "host/runtime/class_registry.h"
#include "host/runtime/module.h"
#include "host/runtime/object.h"
#include "host/runtime/value.h"
#include "interface/host_version.h"

namespace host {

class Trace;

// How a Host is made.
struct HostOptions {
    double version = kNewestHostVersion;  // what modules are told
    CallScope callScope;                  // around every call into a module
    host::Report report;                  // gets messages that no caller can get; to standard error when not given
    std::filesystem::path trace;          // file that tells of every call across the boundary; none when empty
    // Told of every new object, before its initialize functions run, and of every new string.
    std::function<void(ZEVAobjectStruct*)> onNewObject;
    std::function<void(ZEVAstringStruct*)> onNewString;
};

class Host {
  public:
    // Registers the built-in classes and becomes the current Host; throws HostError when there is one already.
    explicit Host(HostOptions options = {});

    // Takes the objects of exceptions that are still on their way. Reports other objects and strings that are
    // referenced; giving them back later is an error.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // The Host of this process; there must be one.
    static Host& Current();

    double Version() const { return options_.version; }

    // Loads a module and has it register its classes. Throws HostError for a file that is no module, and HostException
    // when the module raised; the classes that it registered until then stay. The module finds services through the
    // resolver, when one is given to stand before the host's own.
    const Module& LoadModule(const std::filesystem::path& path, ZEVAresolver resolver = nullptr);

    // The loaded modules, in order.
    const std::vector<std::unique_ptr<Module>>& Modules() const { return modules_; }

    ClassRegistry& Classes() { return classes_; }

    // The trace that is written; null for none.
    Trace* Tracing() const { return trace_.get(); }

    // A new object that no constructor has seen.
    ObjectReference NewInstance(std::string_view className);

    // A new object, constructed by the constructor with as many parameters as there are arguments. Without arguments a
    // class needs no constructor.
    ObjectReference Construct(std::string_view className, std::span<const Value> arguments = {});

    // Reads and writes a property.
    Value Get(ZEVAobjectStruct* object, std::string_view property);
    void Set(ZEVAobjectStruct* object, std::string_view property, const Value& value);

    // Reads and writes a property of a class that needs no object.
    Value GetShared(std::string_view className, std::string_view property);
    void SetShared(std::string_view className, std::string_view property, const Value& value);

    // Calls a method, or a method of a class that needs no object.
    Value Call(ZEVAobjectStruct* object, std::string_view method, std::span<const Value> arguments = {});
    Value CallShared(std::string_view className, std::string_view method, std::span<const Value> arguments = {});

    // How many objects and strings there are.
    std::int64_t LiveObjects() const { return liveObjects_; }
    std::int64_t LiveStrings() const { return liveStrings_; }

    // What the rest of the runtime tells the Host.

    // Notes the exception of the call that runs now; it is thrown when that has returned. The first one of a call
    // stays, a further one is reported.
    void Raise(ObjectReference exception);

    // Hands a message to whoever reads them.
    void Report(const std::string& message) const { options_.report(message); }

    // The record version that the module being loaded announces.
    void NoteAnnouncedVersion(std::int32_t version);

    // Counts an object or a string that has come or gone.
    void NoteNew(ZEVAobjectStruct* object);
    void NoteNew(ZEVAstringStruct* string);
    void NoteObjectGone() { --liveObjects_; }
    void NoteStringGone() { --liveStrings_; }

    // Runs work, which calls into a module and throws nothing, inside the call scope; answers the exception that was
    // raised.
    //
    // Calls nest (a module sets a property while it is called): what is pending in the call around this one stays
    // there.
    template <typename Work>
    ObjectReference RaisedBy(Work work) {
        ObjectReference outer = std::exchange(pending_, {});
        {
            OpenScope scope(options_.callScope);
            work();
        }
        return std::exchange(pending_, std::move(outer));
    }

  private:
    // Which function of a member is called.
    enum class Use { kFunction, kSetter };

    // Calls a member's function with arguments that its interface was made for, and throws what was raised.
    Value CallFunction(const Class& isa, const Member& member, Use use, ZEVAobjectStruct* receiver,
                       Argument* arguments);

    // The same for a setter; checks the value first.
    void SetMember(const Class& isa, const Member& property, ZEVAobjectStruct* receiver, const Value& value);

    // The same for a method or constructor; checks the arguments first.
    Value CallMember(const Class& isa, const Member& member, ZEVAobjectStruct* receiver,
                     std::span<const Value> arguments);

    // Throws what was raised, if anything was.
    void Throw(ObjectReference exception);

    HostOptions options_;
    std::unique_ptr<Trace> trace_;
    ClassRegistry classes_;
    std::vector<std::unique_ptr<Module>> modules_;
    Module* loading_ = nullptr;                           // the module whose entry point runs
    ObjectReference pending_;                             // raised and not yet thrown
    std::vector<std::weak_ptr<ObjectReference>> thrown_;  // the objects of thrown exceptions, for the end
    std::int64_t liveObjects_ = 0;
    std::int64_t liveStrings_ = 0;
};

}  // namespace host
