/* Preloaded: the library gives a gamma map in which one bit is wrong. */
#include <dlfcn.h>
#include <stdint.h>
#include <string.h>

int zarnGI_getGammaIndex3DMap(float* gamma)
{
    int (*next)(float*) = (int (*)(float*))dlsym(RTLD_NEXT, "zarnGI_getGammaIndex3DMap");
    const int status = next(gamma);
    if (status == 0) {
        uint32_t bits;
        memcpy(&bits, gamma, sizeof bits);
        bits ^= 1U;
        memcpy(gamma, &bits, sizeof bits);
    }
    return status;
}
