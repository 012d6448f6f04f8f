// Limits of the multi-point KT/BT rebuild.
#pragma once

#include <cstdint>

namespace radimo::calib {

// The per-point arrays of multi_point_kt_param_t hold this many points.
inline constexpr uint32_t kMaxKtPoints = 20;
// Index value no array position can take (tables hold at most 65535
// entries): marks an index entry the search did not set.
inline constexpr uint16_t kUnsetIndex = 0xFFFF;

}  // namespace radimo::calib
