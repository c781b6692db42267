// roles.h - what the workers of the tests do. Each role stands in the file of its tests.

#pragma once

#include "host/worker/role.h"

[[nodiscard]] worker::Role EchoRole();
[[nodiscard]] worker::Role JobRole();
