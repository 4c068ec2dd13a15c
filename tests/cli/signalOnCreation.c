/* Preloaded into the program: the user interrupts it as soon as it has created an output file. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>

int open(const char* path, int flags, ...)
{
    int (*const create)(const char*, int, ...) =
        (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, "open");
    va_list arguments;
    va_start(arguments, flags);
    const int file = create(path, flags, va_arg(arguments, unsigned));
    va_end(arguments);
    if ((flags & O_EXCL) != 0) {
        raise(SIGINT);
    }
    return file;
}
