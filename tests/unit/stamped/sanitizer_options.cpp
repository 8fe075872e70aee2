// The address sanitizer follows thread-local storage of libraries loaded at run time by peeking at the system's
// own records, and falls over those of the engine's workers when it looks for leaks at the end. Without it the
// look for leaks comes to its end.
#if defined(__SANITIZE_ADDRESS__)
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options() { return "intercept_tls_get_addr=0"; }
#endif
