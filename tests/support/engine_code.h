// Which code a thread runs while a host and the engine call each other: for tests that let the engine's own
// memory fail and leave the host's alone.
#pragma once

namespace tessaron::testing {

inline bool& engine_runs() {
  static thread_local bool runs = false;
  return runs;
}

/// The thread runs the engine, or the host again, as long as this lives.
class code_scope {
 public:
  explicit code_scope(bool engine) : before_(engine_runs()) { engine_runs() = engine; }
  ~code_scope() { engine_runs() = before_; }
  code_scope(const code_scope&) = delete;
  code_scope& operator=(const code_scope&) = delete;

 private:
  bool before_;
};
struct engine_code : code_scope {
  engine_code() : code_scope(true) {}
};
struct host_code : code_scope {
  host_code() : code_scope(false) {}
};

}  // namespace tessaron::testing
