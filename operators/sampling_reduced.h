// Work on an image reduced by halves, with the pixel loops that run meanwhile.
#pragma once

namespace tessaron {

inline constexpr int MAX_REDUCTIONS = 4;

/// Brackets a stretch of work at a resolution of 1 / 2^n; nothing for an n of 0. Beside the render's dimensions it sets
/// what lets a pixel loop run in between: cached planes and source images are read at every 2^n-th pixel, and all
/// lines are computed, in field rendering too.
class reduced_resolution {
 public:
  explicit reduced_resolution(int n);
  ~reduced_resolution() { leave(); }
  reduced_resolution(const reduced_resolution&) = delete;
  reduced_resolution& operator=(const reduced_resolution&) = delete;
  void leave();

 private:
  bool entered_;
  int field_number_;
};

}  // namespace tessaron
