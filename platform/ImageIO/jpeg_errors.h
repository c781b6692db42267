// jpeg_errors.h - how libjpeg reports errors: by a jump out of the library.
//
// Who calls the library calls setjmp(leave) first. No object between that call and the library may have a destructor.

#pragma once

// jpeglib.h requires this header before it.
#include <cstdio>

#include <jpeglib.h>

#include <csetjmp>

#include "decode.h"

namespace image_io {

// The library's error manager, extended by the jump out of the library and by the progress callback.
struct ErrorManager {
    jpeg_error_mgr base;
    jpeg_progress_mgr progress;
    std::jmp_buf leave;
    Status status;
};

[[noreturn]] inline void Leave(j_common_ptr info, Status status) {
    auto* manager = reinterpret_cast<ErrorManager*>(info->err);
    manager->status = status;
    std::longjmp(manager->leave, 1);
}

[[noreturn]] inline void Fail(j_common_ptr info) { Leave(info, Status::kInvalidData); }

inline void Ignore(j_common_ptr) {}

}  // namespace image_io
