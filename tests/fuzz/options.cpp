// The sanitizer's settings for every target: inputs are short, so freed memory need not
// stay in quarantine for long.
extern "C" const char *__asan_default_options();

extern "C" const char *__asan_default_options()
{
    return "quarantine_size_mb=4:malloc_context_size=3:max_malloc_fill_size=64:"
           "detect_stack_use_after_return=1";
}
