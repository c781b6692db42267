// host.h - the runtime: it loads modules, makes objects of their classes and calls their members.
//
//   host::Host host;
//   host.LoadModule("filters.so");
//   auto filter = host.Construct("CIFilterGaussianBlurQOR");
//   host.Set(filter.Get(), "inputRadius", 10.0);
//   host::Value image = host.Get(filter.Get(), "outputImage");
//
// A process has at most one Host at a time: modules reach it through plain functions that carry no context, and these
// use the current one.
// Failure: HostError when the host refuses, HostException when a module raised an exception (errors.h).
// Threads: the thread that made the Host.
//
// The parts of the runtime from the ground up; each one includes only parts that stand before it:
//   declaration, suggestion, call_scope, reference, text
//   errors, environment                  the Host as objects and strings see it
//   write_file
//   string, value, call
//   class, class_registry, module
//   object, describe, argument
//   exception_classes, memory_block, trace
//   host
//   services, traced_service             what modules call; they may use Host::Current()
//   load_module                          Host::LoadModule, which hands the services to a module

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/runtime/call_scope.h"
#include "host/runtime/class.h"
#include "host/runtime/class_registry.h"
#include "host/runtime/environment.h"
#include "host/runtime/failure_source.h"
#include "host/runtime/module.h"
#include "host/runtime/object.h"
#include "host/runtime/value.h"
#include "interface/host_version.h"

namespace host {

class Trace;

struct HostOptions {
    double version = kNewestHostVersion;  // the host version that modules read
    CallScope callScope;                  // opened around each call into a module
    host::Report report;                  // receives messages that no caller can receive; default: standard error
    FailureSource failures;               // tells why the platform made no object
    std::filesystem::path trace;  // the file to which each call across the boundary is written; no trace if empty
    host::Report onLostTrace;     // called once when that file cannot be written to its end; default: report
    // Called for each new object, before its initializers run, and for each new string.
    std::function<void(ZEVAobjectStruct*)> onNewObject;
    std::function<void(ZEVAstringStruct*)> onNewString;
};

class Host final : private Environment {
  public:
    // Registers the built-in classes and becomes the current Host. Throws HostError if there already is one.
    explicit Host(HostOptions options = {});

    // Releases the objects of pending exceptions. Reports how many other objects and strings are still referenced;
    // releasing them later is an error.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // The current Host; there must be one.
    static Host& Current();

    double Version() const { return options_.version; }

    // Loads a module, which registers its classes. Throws HostError for a file that is not a module, and HostException
    // when the module raised; the classes that it registered before that remain. The module looks up services with the
    // given resolver, or with the host's own if that is null.
    const Module& LoadModule(const std::filesystem::path& path, ZEVAresolver resolver = nullptr);

    // The loaded modules in the order of loading.
    const std::vector<std::unique_ptr<Module>>& Modules() const { return modules_; }

    ClassRegistry& Classes() { return classes_; }

    // The trace; null if none is written.
    Trace* Tracing() const { return trace_.get(); }

    // A new object that is initialized but not constructed.
    ObjectReference NewInstance(std::string_view className) override;

    // A new object, constructed by the constructor with as many parameters as there are arguments. A class without a
    // constructor can be constructed without arguments.
    ObjectReference Construct(std::string_view className, std::span<const Value> arguments = {});

    // Reads or writes a property.
    Value Get(ZEVAobjectStruct* object, std::string_view property);
    void Set(ZEVAobjectStruct* object, std::string_view property, const Value& value);

    // Reads or writes a shared property, which belongs to a class and needs no object.
    Value GetShared(std::string_view className, std::string_view property);
    void SetShared(std::string_view className, std::string_view property, const Value& value);

    // Calls a method, or a shared method, which needs no object.
    Value Call(ZEVAobjectStruct* object, std::string_view method, std::span<const Value> arguments = {});
    Value CallShared(std::string_view className, std::string_view method, std::span<const Value> arguments = {});

    // The same with a member that was looked up before, which saves looking for its name. The member must be of the
    // right kind and belong to the receiver's class, which messages name. The receiver of a shared member is null.
    Value GetMember(const Class& isa, const Member& property, ZEVAobjectStruct* receiver) {
        return CallFunction(isa, property, Use::kFunction, receiver, nullptr);
    }
    void SetMember(const Class& isa, const Member& property, ZEVAobjectStruct* receiver, const Value& value);
    Value CallMember(const Class& isa, const Member& method, ZEVAobjectStruct* receiver,
                     std::span<const Value> arguments);

    // The numbers of objects and strings that exist.
    std::int64_t LiveObjects() const { return liveObjects_; }
    std::int64_t LiveStrings() const { return liveStrings_; }

    // For the services and for programs that call module functions directly.

    // Makes an exception pending in the current call; it is thrown when the call has returned. If one is already
    // pending, the new one is reported and dropped.
    void Raise(ObjectReference exception);

    void RaiseNew(const char* className, const std::string& message) noexcept override;
    void RaiseOutOfMemory(const char* subject, std::size_t bytes) noexcept override;

    // Reports a message that no caller can receive.
    void Report(const std::string& message) const override { options_.report(message); }

    // Records the record version that the module being loaded announces.
    void NoteAnnouncedVersion(std::int32_t version);

    // Runs work that calls into a module, inside the call scope, and returns the exception that the module raised, or
    // null. The work must not throw.
    //
    // Calls nest: a module may set a property while it is called. An exception that is pending in the surrounding call
    // stays pending there.
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
    // Environment
    void ObjectCreated(ZEVAobjectStruct* object) override;
    void StringCreated(ZEVAstringStruct* string) override;
    void ObjectDestroyed() override { --liveObjects_; }
    void StringDestroyed() override { --liveStrings_; }
    void CallLifecycleFunction(const char* kind, const Class& isa, void (*function)(ZEVAobjectStruct*),
                               ZEVAobjectStruct* object) override;
    ObjectReference CallModule(const std::function<void()>& work) override { return RaisedBy(std::cref(work)); }

    // Which function of a member is called.
    enum class Use { kFunction, kSetter };

    // Calls a function of a member with arguments that match its interface. Throws the exception that it raised.
    Value CallFunction(const Class& isa, const Member& member, Use use, ZEVAobjectStruct* receiver,
                       Argument* arguments);

    // A new exception with a message.
    ObjectReference NewException(const char* className, const std::string& message);

    // Returns an exception with the reason why a call has returned no object; null when the platform knows none.
    ObjectReference ReasonForNil(const Class& isa, const Member& member, const Value& result);

    // Throws the exception, unless it is null.
    void Throw(ObjectReference exception);

    HostOptions options_;
    std::unique_ptr<Trace> trace_;
    ClassRegistry classes_;
    std::vector<std::unique_ptr<Module>> modules_;
    std::unique_ptr<char[]> reserve_;                     // freed so that an OutOfMemoryException can be made
    Module* loading_ = nullptr;                           // the module whose entry point is running; else null
    ObjectReference pending_;                             // raised and not thrown yet
    std::vector<std::weak_ptr<ObjectReference>> thrown_;  // the objects of thrown exceptions, to be released at the end
    std::int64_t liveObjects_ = 0;
    std::int64_t liveStrings_ = 0;
};

}  // namespace host
