// failure.h - why the engine made nothing: the reason of the latest failure.
//
// Each thread keeps one reason in plain memory, so that a shortage of memory can be noted too. Functions of the door
// (engine.h) forget it when they begin.

#pragma once

namespace core_image {

// Notes a reason, in the form of std::printf; it is cut off after 199 bytes.
__attribute__((format(printf, 1, 2))) void NoteFailure(const char* format, ...) noexcept;

void ForgetFailure() noexcept;

// Returns the reason; empty when there is none. Valid until this thread notes or forgets one.
[[nodiscard]] const char* LatestFailure() noexcept;

}  // namespace core_image
