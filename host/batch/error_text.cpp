// error_text.cpp - one case for each kind of exception.

#include "host/batch/error_text.h"

#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>

#include "host/runtime/errors.h"
#include "host/runtime/text.h"

namespace {

std::string Trimmed(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

}  // namespace

std::string ErrorText() {
    try {
        throw;
    } catch (const host::HostException& exception) {
        return Trimmed(exception.Message().empty() ? exception.what() : exception.Message());
    } catch (const std::filesystem::filesystem_error& error) {
        return error.path1().string() + ": " + host::SystemReason(error.code().value());
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (const std::exception& error) {
        return Trimmed(error.what());
    }
}

int ErrorNumber() {
    try {
        throw;
    } catch (const host::HostException& exception) {
        return exception.ErrorNumber();
    } catch (const host::HostError& error) {
        return error.ErrorNumber();
    } catch (const NumberedError& error) {
        return error.Number();
    } catch (const std::system_error& error) {
        return error.code().value();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::exception&) {
        return 0;
    }
}
