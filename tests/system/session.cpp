// session.cpp - loads the modules from the build folder, or those that the environment names.

#include "tests/system/session.h"

#include "host/program/platform_pool.h"
#include "tests/support/path_from_environment.h"

std::vector<std::string> Session::reports;

Session::Session(double hostVersion)
    : runtime({.version = hostVersion, .callScope = PlatformPool(), .report = [](const std::string& message) {
                   reports.push_back(message);
               }}) {
    reports.clear();
    runtime.LoadModule(ZEVA_MODULES "/companion.so");
    runtime.LoadModule(PathFromEnvironment("ZEVA_FILTERS_MODULE", ZEVA_MODULES "/filters.so"));
}

host::Value Session::Get(const host::Value& object, const std::string& property) {
    return runtime.Get(ObjectOf(object), property);
}

void Session::Set(const host::Value& object, const std::string& property, const host::Value& value) {
    runtime.Set(ObjectOf(object), property, value);
}

bool Session::SetRaises(const host::Value& object, const std::string& property, const host::Value& value) {
    try {
        Set(object, property, value);
    } catch (const host::HostException&) {
        return true;
    }
    return false;
}

double Session::Number(const host::Value& object, const std::string& property) {
    return std::get<double>(Get(object, property));
}

host::Value Session::Call(const host::Value& object, const std::string& method,
                          const std::vector<host::Value>& arguments) {
    return runtime.Call(ObjectOf(object), method, arguments);
}

host::Value Session::New(const std::string& className) { return runtime.Construct(className); }

host::Value Session::Rectangle(double x, double y, double width, double height) {
    const host::Value numbers[] = {x, y, width, height};
    return runtime.CallShared("CIVectorQOR", "Rectangle", numbers);
}

host::Value Session::Open(const std::string& path) {
    const host::Value arguments[] = {host::TextValue(path)};
    return runtime.CallShared("CIImageQOR", "Open", arguments);
}

ZEVAobjectStruct* ObjectOf(const host::Value& value) { return std::get<host::ObjectReference>(value).Get(); }
