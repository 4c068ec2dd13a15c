#include <cstddef>
#include <span>
#include <utility>

#include "comparison/fileDigest.h"
#include "comparison/selfTest/cases.h"
#include "comparison/selfTest/definition.h"
#include "comparison/selfTest/grid.h"
#include "comparison/selfTest/randomProblem.h"
#include "libZarnGI.h"

namespace zarngi::selftest
{

namespace
{

constexpr unsigned blocks = 12;
constexpr unsigned problemsOfBlock = 25;

using Bits = std::vector<unsigned char>;

template <class Value> void append(Bits& bits, std::span<const Value> values)
{
    const auto* const begin = reinterpret_cast<const unsigned char*>(values.data());
    bits.insert(bits.end(), begin, begin + values.size_bytes());
}

/** The rotation of a lattice is drawn by the seconds of the clock, so there is none here. */
int handOver(unsigned seed)
{
    zarnGI_reset();
    zarnGI_setVerbose(0);
    const int shells = definition::RandomProblem(seed).handOver();
    zarnGI_setRandomRotation(false);
    return shells;
}

void appendDefined(Bits& bits, int shells, int threads)
{
    const auto voxels = definition::searchByDefinition(shells, static_cast<std::size_t>(threads));
    append<float>(bits, definition::mapByDefinition(voxels));
    std::vector<unsigned char> passed(Env->N_ref, ZARNGI_NOT_TESTED);
    for (const definition::DefinedVoxel& voxel : voxels) {
        passed[static_cast<std::size_t>(voxel.ivxl)] = voxel.passed ? ZARNGI_PASSED : ZARNGI_FAILED;
    }
    append<unsigned char>(bits, passed);
}

/** What hosts of the library get. */
void appendFound(Bits& bits)
{
    std::vector<float> gamma(Env->N_ref, -1.0F);
    std::vector<unsigned char> passed(Env->N_ref, ZARNGI_NOT_TESTED);
    if (zarnGI_startComputation() == ZARNGI_OK) {
        zarnGI_getGammaIndex3DMap(gamma.data());
        zarnGI_getPassed3DMap(passed.data());
    }
    append<float>(bits, gamma);
    append<unsigned char>(bits, passed);
}

std::string digestText(const Bits& bits)
{
    return "SHA-256 " + digestOf(bits).sha256;
}

/** The problems of a block: by the definition once, and on each path. */
Cases casesOfBlock(unsigned block, const std::vector<TestedPath>& paths, int threads)
{
    Bits wanted;
    std::vector<Bits> found(paths.size());
    const unsigned first = block * problemsOfBlock;
    for (unsigned seed = first; seed < first + problemsOfBlock; ++seed) {
        appendDefined(wanted, handOver(seed), threads);
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (paths[i].isSupported) {
                zarnGI_setVectorPath(static_cast<int>(i));
                appendFound(found[i]);
            }
        }
    }
    Cases cases;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (paths[i].isSupported) {
            std::string name = "gamma of the random problems ";
            name += std::to_string(first) + " to " + std::to_string(first + problemsOfBlock - 1);
            name += ", by " + paths[i].name;
            cases.push_back(
                exactCase("search", std::move(name), digestText(wanted), digestText(found[i])));
        }
    }
    return cases;
}

} // namespace

Cases searchCases(const std::vector<TestedPath>& paths, int threads, const WatchSelfTest& watch)
{
    Cases cases;
    bool goesOn = true;
    for (unsigned block = 0; goesOn && block < blocks; ++block) {
        for (SelfTestCase& one : casesOfBlock(block, paths, threads)) {
            cases.push_back(std::move(one));
        }
        goesOn = watch(static_cast<double>(block + 1) / blocks);
    }
    constexpr int fastest = -1;
    zarnGI_setVectorPath(fastest);
    zarnGI_reset();
    return cases;
}

} // namespace zarngi::selftest
