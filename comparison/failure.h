/**
 * @file failure.h
 * The failures a user sees: one line of text each.
 */
#ifndef ZARNGI_COMPARISON_FAILURE_H
#define ZARNGI_COMPARISON_FAILURE_H

#include <optional>
#include <stdexcept>
#include <string>

#include "comparison/sentence.h"
#include "files/error.h"

namespace zarngi
{

/**
 * What ends a comparison; what() is its sentence in plain words. Nothing of it and of its kinds is
 * inline, the destructors neither: each source that throws would hold all of it.
 */
class Refusal : public std::runtime_error
{
public:
    explicit Refusal(Sentence sentence);
    ~Refusal() override;

    const Sentence& sentence() const { return sentence_; }

private:
    Sentence sentence_;
};

/** What is to blame for a failure that is none of the request. */
enum class FailureKind {
    pair,         ///< the doses, or what belongs to them, cannot be compared as it is asked for
    foreign,      ///< a file is none of the kinds that are read
    damaged,      ///< a file is not whole, or breaks the rules of its format
    notSupported, ///< a file holds what is not read
    system,       ///< the system does not give or take a file
    memory,       ///< there is not enough
    interrupted   ///< who watches has ended it
};

/** A file or a computation that cannot give a result. */
class InputError : public Refusal
{
public:
    explicit InputError(Sentence sentence, FailureKind kind = FailureKind::pair);
    /** @param member what mends it */
    InputError(MemberPlace member, Sentence sentence);
    ~InputError() override;

    FailureKind kind() const { return kind_; }
    /** What mends it, as of UsageError; empty: nothing that is known. */
    const std::string& member() const { return member_; }

private:
    FailureKind kind_;
    std::string member_;
};

/** A computation whose memory could not be had. */
class MemoryError : public InputError
{
public:
    explicit MemoryError(Sentence sentence);
    ~MemoryError() override;
};

/** A file that cannot be read. */
class FileFailure : public InputError
{
public:
    FileFailure(std::string path, files::FileError error);
    ~FileFailure() override;

    const std::string& path() const { return path_; }
    /** What continues "FILE: ". */
    const files::FileError& error() const { return error_; }

private:
    std::string path_;
    files::FileError error_;
};

/** A request that makes no sense, by itself or for these doses. */
class UsageError : public Refusal
{
public:
    /** Of a host's own options, which are no members. */
    explicit UsageError(Sentence sentence);
    UsageError(MemberPlace place, Sentence sentence);
    /** @param member its path in the document of a request */
    UsageError(std::string member, Sentence sentence);
    ~UsageError() override;
    /** A refusal of a member's value: "MEMBER: reason". */
    static UsageError of(MemberPlace place, Sentence reason);

    /** What is to be mended: "criteria[1]", "structures.within"; empty: no member. */
    const std::string& member() const { return member_; }
    /** The sentence without the member in front of it, for hosts that name that otherwise. */
    const Sentence& reason() const { return reason_ ? *reason_ : sentence(); }

private:
    std::string member_;
    std::optional<Sentence> reason_;
};

UsageError refusalOf(MemberPlace place, const Sentence& reason);

/** The kind of what a reader says. */
FailureKind kindOf(const files::FileError& error);

/** A failure of a file: "FILE: reason". */
InputError failureOf(const std::string& path, const Sentence& reason,
                     FailureKind kind = FailureKind::pair);
FileFailure failureOf(const std::string& path, const files::FileError& error);

} // namespace zarngi

#endif
