// session.h - the fixture of the tests of the whole: a host with the companion and the filter module loaded.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "interface/host_version.h"

class Session {
  public:
    // Loads both modules into a host of the version.
    explicit Session(double hostVersion = kNewestHostVersion);

    // Property access on an object value.
    host::Value Get(const host::Value& object, const std::string& property);
    void Set(const host::Value& object, const std::string& property, const host::Value& value);
    double Number(const host::Value& object, const std::string& property);
    host::Value Call(const host::Value& object, const std::string& method, const std::vector<host::Value>& arguments);

    // Whether setting the property raises a host exception.
    bool SetRaises(const host::Value& object, const std::string& property, const host::Value& value);

    // A new object of a class, constructed.
    host::Value New(const std::string& className);

    // A vector of x, y, width and height, and an image from a picture file.
    host::Value Rectangle(double x, double y, double width, double height);
    host::Value Open(const std::string& path);

    // The reports of the host that nobody asked for; a test expects none.
    static std::vector<std::string> reports;

    host::Host runtime;
};

// Whether there is a value at all.
inline bool IsNil(const host::Value& value) { return std::holds_alternative<std::monostate>(value); }

// The object behind a value that is one.
ZEVAobjectStruct* ObjectOf(const host::Value& value);
