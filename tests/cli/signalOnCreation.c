/* Preloaded into the program: the user interrupts it as soon as it has created an output file. */
#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>

int mkstemp(char* template)
{
    int (*const create)(char*) = (int (*)(char*))dlsym(RTLD_NEXT, "mkstemp");
    const int file = create(template);
    raise(SIGINT);
    return file;
}
