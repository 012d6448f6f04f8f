// What the library's tests include: GoogleTest and GoogleMock, the public
// header, message capture, the shared tables and the common standard headers.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"
#include "support/tables.h"

// The matchers most assertions use.
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
