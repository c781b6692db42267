// record_version.h - the versions of the class record layout.
//
// A module chooses the version by the host's version (host_version.h), announces it with RegisterPluginVersion
// before it registers a class, and writes it into each record.

#pragma once

#include <cstdint>

inline constexpr std::int32_t kOldestRecordVersion = 9;
inline constexpr std::int32_t kNewestRecordVersion = 12;

// The last version with the shorter ("down-level") layouts of tables.h and class_definition.h.
inline constexpr std::int32_t kDownLevelRecordVersion = 9;
