// Linked into the programs that are built with AddressSanitizer. A switch whose setup
// failed stays allocated, since its backend may point to it.
__attribute__((weak, visibility("default"))) const char *__lsan_default_suppressions(void);

const char *__lsan_default_suppressions(void)
{
    return "leak:switchCreate\n";
}

__attribute__((weak, visibility("default"))) const char *__lsan_default_options(void);

const char *__lsan_default_options(void)
{
    return "print_suppressions=0"; // programs print nothing that their tests do not expect
}
