/* Preloaded into the program: the user interrupts it as soon as it has created an output file. */
#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>

int mkstemps(char* template, int suffixLength)
{
    int (*const create)(char*, int) = (int (*)(char*, int))dlsym(RTLD_NEXT, "mkstemps");
    const int file = create(template, suffixLength);
    raise(SIGINT);
    return file;
}
