// For short inputs many times over: freed memory is kept back for a dozen inputs rather than for
// thousands, and an allocation remembers its nearest callers. What a target reports is the same;
// ASAN_OPTIONS goes before.
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=16:malloc_context_size=4";
}
