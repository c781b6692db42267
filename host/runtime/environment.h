// environment.h - what objects, strings and memory blocks need of the Host around them.
//
// They stand below the Host, which includes their headers, and modules reach them through functions that carry no
// context. So they do not name the Host: they notify this interface, which the Host implements and installs.
//
// Lifetime: installed for as long as the Host lives. Objects and strings can be made and freed only during that time.
// Threads:  the host's thread only.

#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/runtime/reference.h"

namespace host {

class Class;

class Environment {
  public:
    // The installed environment; there must be one.
    static Environment& Current() { return *current_; }

    // Called for each new object, before its initializers run, and for each new string.
    virtual void ObjectCreated(ZEVAobjectStruct* object) = 0;
    virtual void StringCreated(ZEVAstringStruct* string) = 0;

    // Called once for each object and each string, right before its memory is freed.
    virtual void ObjectDestroyed() = 0;
    virtual void StringDestroyed() = 0;

    // Calls the initializer or finalizer of a class on an object. The kind is "initialize" or "finalize".
    virtual void CallLifecycleFunction(const char* kind, const Class& isa, void (*function)(ZEVAobjectStruct*),
                                       ZEVAobjectStruct* object) = 0;

    // Runs work that calls into a module, inside the call scope, and returns the exception that the module raised, or
    // null. Exceptions that are pending in the surrounding call are kept apart. The work must not throw.
    [[nodiscard]] virtual ObjectReference CallModule(const std::function<void()>& work) = 0;

    // Makes and initializes an object of a registered class. Throws HostError when there is no such class, and
    // HostException when an initializer raised.
    virtual ObjectReference NewInstance(std::string_view className) = 0;

    // Raises a new exception for the module function that is running, or reports the message where it cannot be made.
    virtual void RaiseNew(const char* className, const std::string& message) noexcept = 0;

    // Raises an OutOfMemoryException, for which the host keeps a reserve of memory.
    virtual void RaiseOutOfMemory(const char* subject, std::size_t bytes) noexcept = 0;

    // Reports a message that no caller can receive.
    virtual void Report(const std::string& message) const = 0;

  protected:
    Environment() = default;
    ~Environment() = default;

    // Makes an environment the current one; null removes it.
    static void Install(Environment* environment) { current_ = environment; }

  private:
    static inline Environment* current_ = nullptr;
};

}  // namespace host
