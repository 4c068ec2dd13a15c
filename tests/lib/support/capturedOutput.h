/**
 * @file capturedOutput.h
 * What is written to standard output, through the C and the C++ stream alike.
 */
#ifndef ZARNGI_TESTS_CAPTUREDOUTPUT_H
#define ZARNGI_TESTS_CAPTUREDOUTPUT_H

#include <string>

/** Redirects file descriptor 1 to memory while it lives. */
class CapturedOutput
{
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /** Everything written so far. */
    [[nodiscard]] std::string text() const;

private:
    int memory_;
    int original_;
};

#endif
