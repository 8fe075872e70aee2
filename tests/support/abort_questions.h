// The user asks to stop: a host that is asked whether to go on, and says no at some point.
#pragma once

#include "evaluator/pixel_loop.h"
#include "tests/support/render_definition.h"

namespace tessaron::testing {

/// Renders a frame for a user who asks to stop at the given question of the engine's, counted from 0, and at all
/// behind it. True: the frame was finished before that. Every question is put, as if the last one was long ago.
inline bool render_until_question(definition_renderer& r, int question) {
  static std::int64_t now;
  static int questions_left;
  questions_left = question;
  set_abort_clock([]() -> std::int64_t { return now += 1000; });
  set_abort_query([]() -> int { return questions_left-- <= 0; });
  const bool finished = r.render();
  set_abort_query(nullptr);
  set_abort_clock(nullptr);
  return finished;
}

/// How many frames are left unfinished when the user asks to stop at the first question, the second one, and so on up
/// to `questions`.
inline int stopped_renders(definition_renderer& r, int questions) {
  int stopped = 0;
  for (int question = 0; question < questions; ++question) stopped += !render_until_question(r, question);
  return stopped;
}

}  // namespace tessaron::testing
