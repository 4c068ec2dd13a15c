#include "comparison/documents/disclosure.h"

#include <filesystem>

#include "comparison/failure.h"

namespace zarngi
{

namespace
{

/** Gives files the names of their roles: the first one may be known already. */
class Roles
{
public:
    explicit Roles(const std::string& alias) : alias_(alias) {}

    void add(const std::string& path, const std::string& dataPath, const std::string& role)
    {
        roles_.emplace(path, alias_ + " " + role);
        roles_.emplace(dataPath, alias_ + " " + role + " data");
    }

    void add(const std::vector<DoseImage>& doses, const std::string& role)
    {
        for (std::size_t i = 0; i < doses.size(); ++i) {
            add(doses[i].path, doses[i].dataPath, role + " + " + std::to_string(i + 1));
        }
    }

    std::map<std::string, std::string> take() { return std::move(roles_); }

private:
    const std::string& alias_;
    std::map<std::string, std::string> roles_;
};

std::map<std::string, std::string> rolesOf(const Comparison& comparison, const std::string& alias)
{
    Roles roles(alias);
    roles.add(comparison.reference.path, comparison.reference.dataPath, "reference");
    roles.add(comparison.evaluation.path, comparison.evaluation.dataPath, "evaluation");
    roles.add(comparison.referenceAdded, "reference");
    roles.add(comparison.evaluationAdded, "evaluation");
    if (comparison.structures) {
        const std::vector<files::StructureSet>& sets = comparison.structures->catalogue->sets();
        for (std::size_t i = 0; i < sets.size(); ++i) {
            roles.add(sets[i].path, sets[i].dataPath, structuresRole(i, sets.size()));
        }
    }
    return roles.take();
}

} // namespace

Disclosure::Disclosure(const Comparison& comparison, const std::optional<std::string>& alias)
    : digests_(comparison.digests), alias_(alias)
{
    if (!alias_) {
        return;
    }
    if (!comparison.isDiscreet) {
        throw InputError(
            "the files were read for documents that name them, not for anonymous ones");
    }
    roles_ = rolesOf(comparison, *alias_);
}

std::string Disclosure::pathOf(const std::string& path) const
{
    if (!isAnonymous()) {
        return path;
    }
    const auto role = roles_.find(path);
    return role != roles_.end() ? role->second : *alias_;
}

std::string Disclosure::nameOf(const std::string& path) const
{
    return isAnonymous() ? pathOf(path) : std::filesystem::path(path).filename().string();
}

Request disclosed(Request request, const Disclosure& disclosure)
{
    if (!disclosure.isAnonymous()) {
        return request;
    }
    for (DoseRequest* const dose : {&request.reference, &request.evaluation}) {
        dose->file.clear();
        dose->added.clear();
    }
    request.structures.files.clear();
    request.commandLine.clear();
    return request;
}

} // namespace zarngi
