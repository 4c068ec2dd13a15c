/**
 * @file disclosure.h
 * What documents tell of the files of a comparison, or of one dose: everything; their names alone;
 * or nothing that a file or its name says about a patient.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_DISCLOSURE_H
#define ZARNGI_COMPARISON_DOCUMENTS_DISCLOSURE_H

#include <map>
#include <optional>
#include <string>

#include "comparison/comparison.h"
#include "comparison/doseEvaluation.h"
#include "comparison/fileDigest.h"
#include "comparison/sentence.h"

namespace zarngi
{

class Disclosure
{
public:
    /** The names of files, and what they say about patient and plan where that is asked for. */
    Disclosure(const FileDigests& digests, bool isIdentified = true)
        : digests_(digests), isIdentified_(isIdentified)
    {
    }
    /**
     * The names of files, and where the request asks for it what they say about patient and plan;
     * or nothing: names, paths, UIDs, descriptions and the command line. Then the files
     * are called after the pair and their role: "pair-7 reference", or "pair-7 dose" of one alone.
     * @param alias of the pair, or of the dose; empty: files are called by their roles alone; none:
     * they are named.
     * @throws InputError where the files were read for documents that name them: then sentences
     *         quote what stands in files, and names of structures hold those of files
     */
    Disclosure(const Comparison& comparison, const std::optional<std::string>& alias);
    Disclosure(const DoseEvaluation& evaluation, const std::optional<std::string>& alias);

    /** Whether documents hold what files say about patient and plan, UIDs and descriptions. */
    bool isIdentified() const { return isIdentified_; }
    bool isAnonymous() const { return alias_.has_value(); }
    const std::optional<std::string>& alias() const { return alias_; }
    /** Null of what is no file: doses that a host handed over. */
    const FileDigest* digestOf(const std::string& path) const
    {
        const auto found = digests_.find(path);
        return found != digests_.end() ? &found->second : nullptr;
    }
    /** How a file is called: its path, or its role. */
    std::string pathOf(const std::string& path) const;
    std::string nameOf(const std::string& path) const;
    /** Sentences that call files so. It refers to this. */
    Wording wording() const;

private:
    template <class Result>
    static Disclosure of(const Result& result, const std::optional<std::string>& alias);

    const FileDigests& digests_;
    bool isIdentified_ = true;
    std::optional<std::string> alias_;
    std::map<std::string, std::string> roles_;
};

/** What files are called by their roles: sentences of a request that name no file. */
Wording wordingByRoles(const Request& request);

/** The request with the files as they are disclosed. */
Request disclosed(Request request, const Disclosure& disclosure);

} // namespace zarngi

#endif
