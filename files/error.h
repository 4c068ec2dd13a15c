/**
 * @file error.h
 * What a reader or writer says when there is no result.
 */
#ifndef ZARNGI_FILES_ERROR_H
#define ZARNGI_FILES_ERROR_H

#include <exception>
#include <string>
#include <utility>
#include <variant>

namespace files
{

/** Why there is no result. */
struct FileError {
    enum class Kind {
        damaged,      ///< the contents: not whole, or against the rules of their format
        notSupported, ///< the contents: as they may be, but not read
        foreign,      ///< the contents: of another kind, no file for this reader at all
        system,       ///< the file cannot be opened, read or written
        outOfMemory   ///< its grid does not fit in memory
    };

    Kind kind = Kind::damaged;
    /** One line that continues "FILE: ", without a full stop: "is cut short". */
    std::string sentence;
    int systemError = 0; ///< errno of Kind::system

    /** Whether a reader knew the file and would not take its contents. */
    bool isOfContents() const { return kind == Kind::damaged || kind == Kind::notSupported; }
};

/** A value, or the reason why there is none. */
template <class Value> class Result
{
public:
    Result(Value value) : content_(std::move(value)) {}
    Result(FileError error) : content_(std::move(error)) {}

    explicit operator bool() const { return content_.index() == 0; }
    Value& operator*() { return std::get<0>(content_); }
    const Value& operator*() const { return std::get<0>(content_); }
    Value* operator->() { return &std::get<0>(content_); }
    const Value* operator->() const { return &std::get<0>(content_); }
    const FileError& error() const { return std::get<1>(content_); }

private:
    std::variant<Value, FileError> content_;
};

/**
 * How an error travels inside this library; resultOf() turns it into a value at its border. Nothing
 * of it is inline: each source that refuses something would compile all of it again.
 */
class Refusal : public std::exception
{
public:
    explicit Refusal(FileError error);
    ~Refusal() override;

    const char* what() const noexcept override;
    const FileError& error() const { return error_; }

private:
    FileError error_;
};

/** Ends the reading of a file that is not whole, or breaks the rules of its format. */
[[noreturn]] void refuseDamaged(std::string sentence);

/** Ends the reading of a file that may be in order, but holds what is not read. */
[[noreturn]] void refuseUnsupported(std::string sentence);

/** Ends the reading of a file that is of another kind, such as a photograph. */
[[noreturn]] void refuseForeign(std::string sentence);

/** The value of a result. @throws Refusal with its error */
template <class Value> Value valueOf(Result<Value> result)
{
    if (!result) {
        throw Refusal(result.error());
    }
    return std::move(*result);
}

/** The error of the exception that is being handled; one that is not of std::exception goes on. */
FileError caughtError();

/** What `make` returns, or the error that it threw. */
template <class Make> auto resultOf(const Make& make) -> Result<decltype(make())>
{
    try {
        return make();
    } catch (...) {
        return caughtError();
    }
}

} // namespace files

#endif
