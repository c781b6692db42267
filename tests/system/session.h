// session.h - the fixture of the system tests: a host that has loaded the companion and the filter module.
//
// Lifetime: one Session at a time, because a process has one host.
// Threads:  the host's thread.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "interface/host_version.h"

class Session {
  public:
    // Loads both modules into a host with this version.
    explicit Session(double hostVersion = kNewestHostVersion);

    // Shorthands for calls on an object value.
    host::Value Get(const host::Value& object, const std::string& property);
    void Set(const host::Value& object, const std::string& property, const host::Value& value);
    double Number(const host::Value& object, const std::string& property);
    host::Value Call(const host::Value& object, const std::string& method, const std::vector<host::Value>& arguments);

    // Whether setting the property raises a host exception.
    bool SetRaises(const host::Value& object, const std::string& property, const host::Value& value);

    // Creates and constructs an object of a class.
    host::Value New(const std::string& className);

    // Create a vector of x, y, width and height, and an image from a picture file.
    host::Value Rectangle(double x, double y, double width, double height);
    host::Value Open(const std::string& path);

    // What the host reported since the last Session was made. Tests expect nothing.
    static std::vector<std::string> reports;

    host::Host runtime;
};

[[nodiscard]] inline bool IsNil(const host::Value& value) { return std::holds_alternative<std::monostate>(value); }

// Returns the object in a value; throws std::bad_variant_access when the value is not an object.
ZEVAobjectStruct* ObjectOf(const host::Value& value);
