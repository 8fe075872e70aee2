// Cases of single operators over frames of 1920x1080 pixels, without a host: in units of one pass over the frame, by
// the clock on the wall, the fastest of the repeats.
#pragma once

#include "bench/frame_cases.h"
#include "tests/support/render_definition.h"

namespace tessaron::bench {

inline constexpr const frame_size& FRAME = FRAMES[0];
inline constexpr int WIDTH = FRAME.width, HEIGHT = FRAME.height;

using pixel_function = testing::definition_renderer::pixel_function;

/// A definition of one input whose body is `dest`, over a picture, on a pool of so many threads.
inline std::shared_ptr<testing::definition_renderer> renderer_of(const std::string& dest, const pixel_function& picture,
                                                                 int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  auto renderer = std::make_shared<testing::definition_renderer>("(define Bench (Source) () dest = " + dest + ")",
                                                                 testing::test_frame{.width = WIDTH, .height = HEIGHT});
  if (picture) renderer->set_source(0, picture);
  return renderer;
}

/// The calls of `function` in a whole frame.
inline void add_operator(const std::string& name, const char* function, const std::string& dest,
                         const pixel_function& picture) {
  add_case(FRAME, name, [=](const frame_size&, int threads) -> timed_work {
    return [=, renderer = renderer_of(dest, picture, threads)] {
      if (!renderer->render()) return -1.0;
      double seconds = 0;
      for (const node_timing& t : last_frame_stats.image_nodes)
        if (t.n->kind == KIND_FUNCTION && std::strcmp(t.n->fun->name, function) == 0) seconds += t.seconds;
      return seconds;
    };
  });
}

/// The body of `function` alone: what nothing changes would be computed once for all frames. `prepare` may fill the
/// planes that it reads.
inline void add_body(const std::string& name, const char* function, const std::string& dest,
                     const pixel_function& picture,
                     const std::function<void(testing::definition_renderer&)>& prepare = nullptr) {
  add_case(FRAME, name, [=](const frame_size&, int threads) -> timed_work {
    const auto renderer = renderer_of(dest, picture, threads);
    if (!renderer->render()) return [] { return -1.0; };
    if (prepare) prepare(*renderer);
    return [renderer, n = renderer->calls_of(function)[0]] { return seconds_of([&] { n->image_fun(*n); }); };
  });
}

/// A whole frame whose rows go nowhere, each time the first one: nothing has been kept.
inline void add_loop(const std::string& name, const std::string& dest) {
  add_case(FRAME, name, [=](const frame_size&, int threads) -> timed_work {
    return [=] {
      const auto renderer = renderer_of(dest, nullptr, threads);
      return seconds_of([&] {
        renderer->fill_records();
        pixel_io.tap = [](void*, int, int, int, int, const fix* const*) {};
        perform_effect();
      });
    };
  });
}

/// The `main` of a benchmark whose cases `add` registers.
template <class Add>
int run_passes(int argc, char** argv, Add add) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  add_frame_pass(FRAME);
  add();
  case_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}

}  // namespace tessaron::bench
