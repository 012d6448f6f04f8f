// Grid tolerance shared by the index rules and the tau table readers.
#pragma once

namespace radimo::atmosphere {

// Every grid comparison is made against grid[i] - 0.0001 in double
// precision, with the float argument widened.
inline constexpr double kGridTolerance = 0.0001;

}  // namespace radimo::atmosphere
