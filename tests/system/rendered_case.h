// rendered_case.h - renders reference cases through the properties of the module's classes.
//
// Threads: the host's thread.

#pragma once

#include "golden_cases.h"
#include "tests/system/session.h"

// Applies the steps of a case and returns the last image.
host::Value Rendered(Session& session, const golden::Case& reference);

// Saves and reads the part of an image in the case's rectangle. Pixels outside the image are transparent. Without
// matching, filters see the numbers of the files.
golden::Picture PictureOf(Session& session, const host::Value& image, const golden::Case& reference,
                          bool isMatching = true);
