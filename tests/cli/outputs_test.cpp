#include <gtest/gtest.h>

#include <utility>

#include "cli/output/outputs.h"

namespace
{

TEST(GammaMapNames, CriterionGoesBeforeTheExtension)
{
    const zarngi::Criterion criterion = zarngi::parseCriterion("2%L/1.5mm");
    for (const auto& [name, expected] : {std::pair{"g.mha", "g-2L-1.5mm.mha"},
                                         {"g.nii.gz", "g-2L-1.5mm.nii.gz"},
                                         {"/a.b/g.nrrd", "/a.b/g-2L-1.5mm.nrrd"},
                                         {"../g.v2.nii", "../g.v2-2L-1.5mm.nii"},
                                         {"g.NII.gz", "g-2L-1.5mm.NII.gz"},
                                         {".mha", "-2L-1.5mm.mha"}}) {
        EXPECT_EQ(zarngi::gammaMapName(name, criterion), expected);
    }
}

} // namespace
