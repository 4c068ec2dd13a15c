#include <gtest/gtest.h>

#include "comparison/criterion.h"
#include "comparison/failure.h"

using zarngi::Criterion;
using zarngi::parseCriterion;

namespace
{

TEST(CriterionNotation, AcceptedForms)
{
    struct Case {
        const char* text;
        double doseDifference;
        double distance;
        bool isLocal;
        const char* label;
        const char* fileLabel;
    };
    for (const Case& c : {Case{"3%/2mm", 3, 2, false, "3%/2mm", "3G-2mm"},
                          Case{"3%G/2mm", 3, 2, false, "3%/2mm", "3G-2mm"},
                          Case{"2%L/2mm", 2, 2, true, "2%L/2mm", "2L-2mm"},
                          Case{" 1.5 % l / 0.5 MM ", 1.5, 0.5, true, "1.5%L/0.5mm", "1.5L-0.5mm"},
                          Case{"2,5%L/1,25mm", 2.5, 1.25, true, "2.5%L/1.25mm", "2.5L-1.25mm"},
                          Case{"2%g/1.25mm", 2, 1.25, false, "2%/1.25mm", "2G-1.25mm"}}) {
        SCOPED_TRACE(c.text);
        const Criterion criterion = parseCriterion(c.text);
        EXPECT_EQ(criterion.doseDifference, c.doseDifference);
        EXPECT_EQ(criterion.distance, c.distance);
        EXPECT_EQ(criterion.isLocal, c.isLocal);
        EXPECT_EQ(criterion.label(), c.label);
        EXPECT_EQ(criterion.fileLabel(), c.fileLabel);
    }
}

TEST(CriterionNotation, RefusedForms)
{
    for (const char* text :
         {"",           "/",          "3%",         "2mm",        "3/2",      "3%/2",
          "3/2mm",      "%/mm",       "3%LG/2mm",   "3L%/2mm",    "3%/2mm/1", "-3%/2mm",
          "3%/0mm",     "nan%/2mm",   "3%/infmm",   "1e-60%/2mm", "3%/2cm",   "0x3%/2mm",
          "2,500%/2mm", "2,5,1%/2mm", "2.5,1%/2mm", "2,%/2mm"}) {
        EXPECT_THROW(parseCriterion(text), zarngi::UsageError) << text;
    }
}

} // namespace
