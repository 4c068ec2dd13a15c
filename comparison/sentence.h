/**
 * @file sentence.h
 * What a person is told in one line, for hosts that have words of their own.
 */
#ifndef ZARNGI_COMPARISON_SENTENCE_H
#define ZARNGI_COMPARISON_SENTENCE_H

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "comparison/request/member.h"

namespace zarngi
{

/** A file that a sentence names. */
struct FileName {
    std::string path;
};

/** How a host says members of a request and names of files. */
struct Wording {
    std::function<std::string(Member)> member;
    std::function<std::string(const std::string& path)> file;
};

/** Members as the document of a request calls them, files by their paths. */
const Wording& plainWording();

/**
 * A line without a full stop, made of text, members of the request, and files. Nothing of it is
 * inline: nearly every source makes some, and would compile all of it again.
 */
class Sentence
{
public:
    Sentence();
    Sentence(std::string text);
    Sentence(const char* text);
    Sentence(Member member);
    Sentence(FileName file);
    Sentence(const Sentence& other);
    Sentence(Sentence&& other) noexcept;
    Sentence& operator=(const Sentence& other);
    Sentence& operator=(Sentence&& other) noexcept;
    ~Sentence();

    Sentence& operator+=(const Sentence& more);

    std::string text(const Wording& wording = plainWording()) const;
    const std::vector<std::variant<std::string, Member, FileName>>& parts() const { return parts_; }
    /** The file with which it begins, or an empty text. */
    std::string subject() const;

private:
    std::vector<std::variant<std::string, Member, FileName>> parts_;
};

Sentence operator+(Sentence first, const Sentence& second);

} // namespace zarngi

#endif
