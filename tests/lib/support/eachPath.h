/**
 * @file eachPath.h
 * Work that a test does on each vector path it is about.
 */
#ifndef ZARNGI_TESTS_EACHPATH_H
#define ZARNGI_TESTS_EACHPATH_H

#include <functional>

/** Once, or in the program that tests vector paths once on each of those it was asked for. */
void onEachPath(const std::function<void()>& work);

#endif
