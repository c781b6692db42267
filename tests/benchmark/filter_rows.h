// filter_rows.h - every filter at its defaults and at a demanding setting, in a large picture and in a preview.
//
// Filters and their values come from the attributes. Demanding means: in the middle of the picture, halfway through a
// transition, and numbers at the far end of their sliders (filter_rows.mm lists what differs).
//
// Names:    "12 MP at default/<filter>", "12 MP demanding/<filter>" and "preview/<filter>".
// Lifetime: images are kept for the life of the process.
// Threads:  one at a time.

#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <vector>

#include "rows.h"

namespace benchmarks {

// Returns the operation of another library that does the same work as a filter, "as ...", or why there is none.
[[nodiscard]] std::string NoteOfCategory(NSString* filter);

// Returns three rows for each filter. The note of the first says which of the given operations is the same filter
// or does the same work; or why no other library has one.
[[nodiscard]] std::vector<Row> FilterRows(const std::vector<Row>& operations);

}  // namespace benchmarks
