/** RT Plans and RT Ion Plans, read from bytes that are put together here element by element. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/error.h"
#include "files/plans/readPlan.h"
#include "tests/files/dicomBytes.h"

namespace
{

using namespace dicomBytes;
using files::FileError;
using files::Plan;
using files::Result;
using std::string;

string sequence(std::uint32_t tag, const std::vector<string>& items)
{
    string content;
    for (const string& value : items) {
        content += item(value);
    }
    return head(tag, "SQ", content.size()) + content;
}

string controlPoint(const string& isocentre)
{
    return element(0x300A012C, "DS", isocentre);
}

string beam(const string& number, const string& name, const std::vector<string>& points,
            const string& type = "TREATMENT", std::uint32_t pointsTag = 0x300A0111)
{
    return element(0x300A00B2, "SH", "LINAC 1") + element(0x300A00C0, "IS", number) +
           element(0x300A00C2, "LO", name) + element(0x300A00CE, "CS", type) +
           sequence(pointsTag, points);
}

/** What stands in a plan beside its first elements. */
struct Parts {
    string dose = "60";
    string fractions = "30";
    string isocentre = "1\\-2\\3.5";
    string secondNumber = "2";
};

string data(const Parts& parts = {})
{
    const string target = element(0x300A0016, "LO", "PTV") + element(0x300A0020, "CS", "TARGET") +
                          element(0x300A0026, "DS", parts.dose);
    const string organ =
        element(0x300A0020, "CS", "ORGAN_AT_RISK") + element(0x300A0026, "DS", "20");
    return element(0x00080018, "UI", "1.2.5") + element(0x00080060, "CS", "RTPLAN") +
           element(0x0008103E, "LO", "Plans") + element(0x00100010, "PN", "Doe^Jane") +
           element(0x00100020, "LO", "4711") + element(0x300A0002, "SH", "HN 60") +
           element(0x300A0006, "DA", "20261126") + sequence(0x300A0010, {target, organ}) +
           sequence(0x300A0070, {element(0x300A0078, "IS", parts.fractions)}) +
           sequence(0x300A00B0,
                    {beam("1", "arc",
                          {controlPoint(parts.isocentre), "", controlPoint(parts.isocentre)}),
                     beam(parts.secondNumber, "kV", {controlPoint("0\\0\\0")}, "SETUP")}) +
           element(0x300E0002, "CS", "APPROVED");
}

string file(const string& dataSet)
{
    return preamble() + meta(explicitLittle) + dataSet;
}

Result<Plan> read(const string& bytes)
{
    return files::readPlan(view(bytes), {nativeDeflate()});
}

TEST(Plan, TellsWhatItIsAndNoDoseOfAnOrgan)
{
    for (const string& bytes : {file(data()), gzipped(file(data())), deflatedFile(data())}) {
        const Result<Plan> plan = read(bytes);
        ASSERT_TRUE(plan) << plan.error().sentence;
        EXPECT_EQ(plan->format, "DICOM RT Plan");
        EXPECT_EQ(plan->sopInstance, "1.2.5");
        EXPECT_EQ(plan->patientName + "|" + plan->patientId, "Doe^Jane|4711");
        EXPECT_EQ(plan->label + "|" + plan->date + "|" + plan->approval, "HN 60|20261126|APPROVED");
        ASSERT_EQ(plan->prescriptions.size(), 1U);
        EXPECT_EQ(plan->prescriptions[0].dose, 60);
        EXPECT_EQ(plan->prescriptions[0].target, "PTV");
        EXPECT_EQ(plan->fractions, std::vector<std::int32_t>{30});
        ASSERT_EQ(plan->beams.size(), 2U);
        EXPECT_EQ(plan->beams[0].machine, "LINAC 1");
        EXPECT_EQ(plan->beams[0].isocentres, (std::vector<files::Vec3>{{1, -2, 3.5}}));
        EXPECT_TRUE(plan->beams[0].isTreatment);
        EXPECT_FALSE(plan->beams[1].isTreatment);
    }
}

TEST(Plan, OfIonsIsReadAsWell)
{
    const string ions =
        element(0x00080016, "UI", "1.2.840.10008.5.1.4.1.1.481.8") +
        sequence(0x300A03A2,
                 {beam("3", "spots", {controlPoint("7\\8\\9")}, "TREATMENT", 0x300A03A8)});
    const Result<Plan> plan = read(file(ions));
    ASSERT_TRUE(plan) << plan.error().sentence;
    EXPECT_EQ(plan->format, "DICOM RT Ion Plan");
    ASSERT_EQ(plan->beams.size(), 1U);
    EXPECT_EQ(plan->beams[0].isocentres, (std::vector<files::Vec3>{{7, 8, 9}}));
}

/** A file of a plan that refers to others. */
string relatedPlan(const std::vector<std::pair<string, string>>& others)
{
    std::vector<string> items;
    for (const auto& [instance, relationship] : others) {
        items.push_back(element(0x00081155, "UI", instance) +
                        element(0x300A0055, "CS", relationship));
    }
    return file(element(0x00080060, "CS", "RTPLAN") + sequence(0x300C0002, items));
}

TEST(Plan, CameAfterThoseThatItVerifiesOrWasDerivedFrom)
{
    const Result<Plan> plan = read(relatedPlan({{"1.2.1", "PRIOR"},
                                                {"1.2.2", "ALTERNATIVE"},
                                                {"1.2.3", "PREDECESSOR"},
                                                {"1.2.4", "VERIFIED_PLAN"},
                                                {"1.2.5", "CONCURRENT"},
                                                {"1.2.6", ""}}));
    ASSERT_TRUE(plan) << plan.error().sentence;
    EXPECT_EQ(plan->origins, (std::vector<string>{"1.2.3", "1.2.4"}));
}

TEST(Plan, DamageIsToldFromWhatIsNotRead)
{
    using Kind = FileError::Kind;
    struct Row {
        string bytes;
        Kind kind;
        string part; ///< of the sentence
    };
    const std::vector<Row> rows = {
        {"", Kind::damaged, "empty"},
        {file(data()).substr(0, file(data()).size() - 30), Kind::damaged, ""},
        {file(data({"x"})), Kind::damaged, "Target Prescription Dose"},
        {file(data({"-1"})), Kind::damaged, "Target Prescription Dose"},
        {file(data({"60", "1.5"})), Kind::damaged, "Number of Fractions Planned"},
        {file(data({"60", "-2"})), Kind::damaged, "Number of Fractions Planned"},
        {file(data({"60", "30", "1\\2"})), Kind::damaged, "Isocenter Position"},
        {file(data({"60", "30", "1\\2\\1e9"})), Kind::damaged, "Isocenter Position"},
        {file(data({"60", "30", "1\\2\\3", "1"})), Kind::damaged, "Beam Number 1"},
        {file(data({"60", "30", "1\\2\\3", ""})), Kind::damaged, "Beam Number"},
        {file(element(0x00080060, "CS", "RTRAD")), Kind::notSupported, "Radiation Set"},
        {file(element(0x00080060, "CS", "RTDOSE")), Kind::foreign, "RTDOSE"},
        {"NRRD0004\n", Kind::foreign, "RT Plan"},
    };
    for (const Row& row : rows) {
        const Result<Plan> plan = read(row.bytes);
        ASSERT_FALSE(plan) << row.part;
        EXPECT_EQ(plan.error().kind, row.kind) << plan.error().sentence;
        EXPECT_NE(plan.error().sentence.find(row.part), string::npos) << plan.error().sentence;
    }
}

TEST(Plan, CutAnywhereItIsReadWholeOrRefused)
{
    const string whole = file(data());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Result<Plan> plan = read(whole.substr(0, length));
        // Behind an element that is whole the rest cannot be missed.
        EXPECT_TRUE(!plan || plan->beams.size() <= 2) << length;
        if (plan) {
            EXPECT_TRUE(plan->patientId.empty() || plan->patientId == "4711") << length;
        }
    }
}

TEST(Plan, IsToldByItsBeginning)
{
    EXPECT_TRUE(files::isPlan(view(file(data())), nativeDeflate()));
    EXPECT_FALSE(files::isPlan(view(file(element(0x00080060, "CS", "RTSTRUCT"))), nativeDeflate()));
}

} // namespace
