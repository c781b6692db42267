// error_text.cpp - the text of each kind of exception.

#include "host/batch/error_text.h"

#include "host/runtime/errors.h"

std::string OneLine(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    for (char& c : text) c = c == '\n' ? ' ' : c;
    return text;
}

std::string ErrorText() {
    try {
        throw;
    } catch (const host::HostException& exception) {
        return OneLine(exception.Message().empty() ? exception.what() : exception.Message());
    } catch (const std::exception& error) {
        return OneLine(error.what());
    }
}
