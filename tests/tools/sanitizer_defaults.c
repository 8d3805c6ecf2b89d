/* Sanitizer settings built into every test program of a sanitizer build, so
 * that they hold however the test is started (ctest, a debugger, by hand). */

/* The sanitizer runtime looks these up dynamically: they must be exported. */
#define ORV_EXPORT __attribute__((visibility("default")))

const char* __asan_default_options(void);
ORV_EXPORT const char* __asan_default_options(void) { return "detect_leaks=1:abort_on_error=0:strict_string_checks=1"; }

const char* __ubsan_default_options(void);
ORV_EXPORT const char* __ubsan_default_options(void) { return "print_stacktrace=1:halt_on_error=1"; }

const char* __tsan_default_options(void);
ORV_EXPORT const char* __tsan_default_options(void) { return "halt_on_error=1:second_deadlock_stack=1"; }

/* Aravis and GLib are not built with ThreadSanitizer: their locks (GMutex
 * works on futexes directly) are invisible to it, so the buffers and
 * descriptors an ArvGvDevice shares between its heartbeat thread and the
 * caller look raced. Accesses made through interceptors called from these
 * libraries are not checked; the project's own code still is. */
const char* __tsan_default_suppressions(void);
ORV_EXPORT const char* __tsan_default_suppressions(void) {
    return "called_from_lib:libaravis-0.8.so.0\n"
           "called_from_lib:libgio-2.0.so.0\n"
           "called_from_lib:libglib-2.0.so.0\n"
           "called_from_lib:libgobject-2.0.so.0\n";
}
