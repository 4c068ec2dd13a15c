#include "comparison/documents/disclosure.h"

#include "comparison/failure.h"
#include "platform/paths.h"

namespace zarngi
{

namespace
{

/** Gives files the names of their roles: the first one may be known already. */
class Roles
{
public:
    explicit Roles(const std::string& alias) : prefix_(alias.empty() ? alias : alias + " ") {}

    void add(const std::string& path, const std::string& role)
    {
        roles_.emplace(path, prefix_ + role);
    }
    void add(const std::string& path, const std::string& dataPath, const std::string& role)
    {
        add(path, role);
        add(dataPath, role + " data");
    }

    std::map<std::string, std::string> take() { return std::move(roles_); }

private:
    std::string prefix_;
    std::map<std::string, std::string> roles_;
};

std::string addedRole(const std::string& role, std::size_t place)
{
    return role + " + " + std::to_string(place + 1);
}

/** "plan", or "plan 2" of several. */
std::string planRole(std::size_t place, std::size_t count)
{
    return count > 1 ? "plan " + std::to_string(place + 1) : "plan";
}

void addAdded(Roles& roles, const std::vector<DoseImage>& doses, const std::string& role)
{
    for (std::size_t i = 0; i < doses.size(); ++i) {
        roles.add(doses[i].path, doses[i].dataPath, addedRole(role, i));
    }
}

void addStructures(Roles& roles, const StructureComparison& structures)
{
    const std::vector<files::StructureSet>& sets = structures.catalogue->sets();
    for (std::size_t i = 0; i < sets.size(); ++i) {
        roles.add(sets[i].path, sets[i].dataPath, structuresRole(i, sets.size()));
    }
}

void addPlans(Roles& roles, const std::vector<ComparedPlan>& plans)
{
    for (std::size_t i = 0; i < plans.size(); ++i) {
        roles.add(plans[i].plan.path, planRole(i, plans.size()));
    }
}

std::map<std::string, std::string> rolesOf(const Comparison& comparison, const std::string& alias)
{
    Roles roles(alias);
    roles.add(comparison.reference.path, comparison.reference.dataPath, "reference");
    roles.add(comparison.evaluation.path, comparison.evaluation.dataPath, "evaluation");
    addAdded(roles, comparison.referenceAdded, "reference");
    addAdded(roles, comparison.evaluationAdded, "evaluation");
    for (const auto& [file, role] :
         {std::pair(&comparison.referenceUncertainty, "reference uncertainty"),
          std::pair(&comparison.evaluationUncertainty, "evaluation uncertainty")}) {
        if (*file) {
            roles.add((*file)->path, (*file)->dataPath, role);
        }
    }
    if (comparison.structures) {
        addStructures(roles, *comparison.structures);
    }
    addPlans(roles, comparison.plans);
    return roles.take();
}

std::map<std::string, std::string> rolesOf(const DoseEvaluation& evaluation,
                                           const std::string& alias)
{
    Roles roles(alias);
    roles.add(evaluation.dose.path, evaluation.dose.dataPath, "dose");
    addStructures(roles, evaluation.structures);
    addPlans(roles, evaluation.plans);
    return roles.take();
}

std::map<std::string, std::string> rolesOf(const Request& request)
{
    Roles roles("");
    const auto add = [&](const DoseRequest& dose, const std::string& role) {
        roles.add(dose.file, role);
        for (std::size_t i = 0; i < dose.added.size(); ++i) {
            roles.add(dose.added[i], addedRole(role, i));
        }
    };
    add(request.reference, "reference");
    add(request.evaluation, "evaluation");
    const std::vector<std::string>& structures = request.structures.files;
    for (std::size_t i = 0; i < structures.size(); ++i) {
        roles.add(structures[i], structuresRole(i, structures.size()));
    }
    for (std::size_t i = 0; i < request.plans.size(); ++i) {
        roles.add(request.plans[i], planRole(i, request.plans.size()));
    }
    return roles.take();
}

} // namespace

template <class Result>
Disclosure Disclosure::of(const Result& result, const std::optional<std::string>& alias)
{
    Disclosure disclosure(result.digests, result.request.identify && !alias);
    if (!alias) {
        return disclosure;
    }
    if (!result.isDiscreet) {
        throw InputError(
            "the files were read for documents that name them, not for anonymous ones");
    }
    disclosure.alias_ = alias;
    disclosure.roles_ = rolesOf(result, *alias);
    return disclosure;
}

Disclosure::Disclosure(const Comparison& comparison, const std::optional<std::string>& alias)
    : Disclosure(of(comparison, alias))
{
}

Disclosure::Disclosure(const DoseEvaluation& evaluation, const std::optional<std::string>& alias)
    : Disclosure(of(evaluation, alias))
{
}

std::string Disclosure::pathOf(const std::string& path) const
{
    if (!isAnonymous()) {
        return path;
    }
    const auto role = roles_.find(path);
    return role != roles_.end() ? role->second : alias_->empty() ? "a file" : *alias_;
}

std::string Disclosure::nameOf(const std::string& path) const
{
    return isAnonymous() ? pathOf(path) : platform::nameOf(path);
}

Wording Disclosure::wording() const
{
    return {plainWording().member, [this](const std::string& path) { return pathOf(path); }};
}

Wording wordingByRoles(const Request& request)
{
    return {plainWording().member, [roles = rolesOf(request)](const std::string& path) {
                const auto role = roles.find(path);
                return role != roles.end() ? role->second : std::string("a file");
            }};
}

Request disclosed(Request request, const Disclosure& disclosure)
{
    if (!disclosure.isAnonymous()) {
        return request;
    }
    clearFiles(request);
    request.identify = false;
    request.header = {};
    request.commandLine.clear();
    return request;
}

} // namespace zarngi
