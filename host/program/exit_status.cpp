// exit_status.cpp - maps each kind of error to a status.

#include "host/program/exit_status.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "host/batch/error_text.h"
#include "host/runtime/errors.h"

namespace {

// The errors that another name or another file would avoid.
constexpr int kWrongNames[] = {EACCES, EEXIST, EINVAL, EISDIR,  ELOOP, ENAMETOOLONG,
                               ENOENT, ENXIO,  EPERM,  ENOTDIR, EROFS, ETXTBSY};

}  // namespace

int StatusOfNumber(int errorNumber, int otherwise) {
    if (errorNumber == 0) return otherwise;
    if (errorNumber == EBADMSG) return kFailed;  // a picture that is decoded while the result is written
    const bool isName = std::find(std::begin(kWrongNames), std::end(kWrongNames), errorNumber) != std::end(kWrongNames);
    return isName ? kWrongUsage : kMachineFailed;
}

Failure FailureOfError(int ofException) {
    try {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const host::HostException&) {
        return {StatusOfNumber(ErrorNumber(), ofException), ErrorText()};
    } catch (const host::HostError&) {
        return {StatusOfNumber(ErrorNumber(), kWrongUsage), ErrorText()};
    } catch (const std::exception&) {
        return {StatusOfNumber(ErrorNumber(), kFailed), ErrorText()};
    }
}
