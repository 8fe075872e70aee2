// Pieces of bright pixels, joined run by run as the rows come.
#include "operators/drops.h"

#include <algorithm>

#include "evaluator/frame.h"

namespace tessaron {
namespace {

/// Sums over a spot's pixels: samples, and samples times their place.
struct spot {
  std::int64_t light = 0, x = 0, y = 0;

  void add(const spot& other) {
    light += other.light;
    x += other.x;
    y += other.y;
  }
};

/// Neighbouring bright pixels of a row, both ends inside.
struct run {
  int first, last;
  int number;  // of its spot
};

/// Spots that turn out to be one are joined: the lower number holds the sums of both.
class spot_set {
 public:
  int add(const spot& s) {
    const int number = int(spots_.size());
    spots_.push_back(s);
    parent_.push_back(number);
    return number;
  }
  int root_of(int number) {
    while (parent_[number] != number) number = parent_[number] = parent_[parent_[number]];
    return number;
  }
  /// The number of the joined spot.
  int join(int a, int b) {
    a = root_of(a);
    b = root_of(b);
    if (a == b) return a;
    if (b < a) std::swap(a, b);
    parent_[b] = a;
    spots_[a].add(spots_[b]);
    spots_[b] = {};
    return a;
  }
  /// Those that hold light; joined ones hold none.
  std::vector<spot> spots() const {
    std::vector<spot> found;
    for (const spot& s : spots_)
      if (s.light > 0) found.push_back(s);
    return found;
  }

 private:
  std::vector<spot> spots_;
  std::vector<int> parent_;
};

void find_runs(const std::int16_t* row, int width, int y, spot_set& set, std::vector<run>& runs) {
  runs.clear();
  for (int x = 0; x < width;) {
    if (row[x] <= 0) {
      ++x;
      continue;
    }
    run r = {x, x, 0};
    spot s;
    for (; x < width && row[x] > 0; ++x) {
      s.light += row[x];
      s.x += std::int64_t(row[x]) * x;
      r.last = x;
    }
    s.y = s.light * y;
    r.number = set.add(s);
    runs.push_back(r);
  }
}

/// Runs of neighbouring rows touch when they share a column, or a corner.
void join_rows(const std::vector<run>& above, const std::vector<run>& row, spot_set& set) {
  std::size_t k = 0;
  for (const run& r : row) {
    while (k < above.size() && above[k].last < r.first - 1) ++k;
    for (std::size_t i = k; i < above.size() && above[i].first <= r.last + 1; ++i) set.join(above[i].number, r.number);
  }
}

std::vector<spot> find_spots(const spot_image& image) {
  spot_set set;
  std::vector<run> above, row;
  for (int y = 0; y < image.height; ++y) {
    find_runs(image.samples + y * image.stride, image.width, y, set, row);
    join_rows(above, row, set);
    std::swap(above, row);
  }
  return set.spots();
}

std::vector<drop> current_drops;

}  // namespace

std::vector<drop> find_drops(const spot_image& image, const sampling_frame& frame, float y_aspect, int frame_width,
                             int max_drops) {
  std::vector<spot> spots = find_spots(image);
  const auto brighter = [](const spot& a, const spot& b) {
    if (a.light != b.light) return a.light > b.light;
    if (a.y != b.y) return a.y < b.y;
    return a.x < b.x;
  };
  const std::size_t count = std::min(spots.size(), std::size_t(std::max(max_drops, 0)));
  std::partial_sort(spots.begin(), spots.begin() + std::ptrdiff_t(count), spots.end(), brighter);

  const double half_width = frame.full_width / 2.0, half_height = frame.full_height / 2.0;
  const double light_scale = 1000.0 / (double(frame_width) * frame_width) / FIX_ONE;
  const auto in_frame = [](double sum, std::int64_t light, fix origin) {
    return sum / double(light) + 0.5 + double(origin) / FIX_ONE;
  };
  std::vector<drop> drops;
  for (std::size_t i = 0; i < count; ++i) {
    const spot& s = spots[i];
    const double x = in_frame(double(s.x), s.light, frame.origin_x), y = in_frame(double(s.y), s.light, frame.origin_y);
    drops.push_back({float((x - half_width) / half_width), float((half_height - y) / half_height * y_aspect),
                     float(std::min(double(s.light) * light_scale, 1.0))});
  }
  return drops;
}

drop_list drops_of_sampling_image(int max_drops) {
  const mipmap_table_record& t = mipmap_table;
  const spot_image image = {mipmap_buffer + level_start(t, 0, 0), t.row_stride, t.width, t.height};
  current_drops = find_drops(image, current_sampling_frame(), display_dims.xy_aspect * display_dims.pixel_aspect,
                             display_dims.display_width, max_drops);
  return {current_drops.data(), int(current_drops.size())};
}

}  // namespace tessaron
