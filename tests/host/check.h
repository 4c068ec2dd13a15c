/* What the programs of this folder find wrong, counted. */
#ifndef ZARNGI_TESTS_HOST_CHECK_H
#define ZARNGI_TESTS_HOST_CHECK_H

#include <stdio.h>

static int failures = 0;

static void check(int condition, const char* what)
{
    if (!condition) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

#endif
