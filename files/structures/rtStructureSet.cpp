#include "files/structures/rtStructureSet.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "files/error.h"
#include "files/formats/dicom/file.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/texts.h"
#include "files/structures/structureNames.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag setLabel{0x30060002, "Structure Set Label"};
constexpr DicomTag framesOfReference{0x30060010, "Referenced Frame of Reference Sequence"};
constexpr DicomTag rois{0x30060020, "Structure Set ROI Sequence"};
constexpr DicomTag roiNumber{0x30060022, "ROI Number"};
constexpr DicomTag roiFrameOfReference{0x30060024, "Referenced Frame of Reference UID"};
constexpr DicomTag roiName{0x30060026, "ROI Name"};
constexpr DicomTag displayColour{0x3006002A, "ROI Display Color"};
constexpr DicomTag roiContours{0x30060039, "ROI Contour Sequence"};
constexpr DicomTag contours{0x30060040, "Contour Sequence"};
constexpr DicomTag geometricType{0x30060042, "Contour Geometric Type"};
constexpr DicomTag pointCount{0x30060046, "Number of Contour Points"};
constexpr DicomTag contourData{0x30060050, "Contour Data"};
constexpr DicomTag observations{0x30060080, "RT ROI Observations Sequence"};
constexpr DicomTag referencedRoi{0x30060084, "Referenced ROI Number"};
constexpr DicomTag interpretedType{0x300600A4, "RT ROI Interpreted Type"};
} // namespace tags

/** Packed files unpack to no more; the largest structure sets of clinics have some 100 MB. */
constexpr std::uint64_t mostUnpackedBytes = std::uint64_t{256} << 20;

constexpr double farthestVertex = 1e6; // mm

/** Twice a rounding beyond 0.1 mm, which as a difference of written numbers comes out either way.
 */
constexpr double flatness = 0.1 + 1e-9; // mm

void checkIsStructures(const DicomFile& file)
{
    if (!isRtStructureSet(file)) {
        refuseForeign("is DICOM but no RT Structure Set (modality " +
                      toldModality(file.values().text(dicomTags::modality)) + ")");
    }
}

/** The vertices of a closed contour. @throws Refusal */
std::vector<Vec3> verticesOf(const DicomValues& contour)
{
    DicomNumbers numbers = contour.list(tags::contourData);
    if (numbers.count() % 3 != 0) {
        refuseDamaged("has a contour with " + grouped(numbers.count()) +
                      " coordinates, which are no whole points");
    }
    const std::size_t count = numbers.count() / 3;
    if (contour.has(tags::pointCount)) {
        const std::int32_t told = contour.wholeNumber(tags::pointCount);
        if (told != static_cast<std::int64_t>(count)) {
            refuseDamaged("has a contour with " + grouped(count) + " points that tells " +
                          std::to_string(told));
        }
    }
    std::vector<Vec3> vertices(count);
    for (Vec3& vertex : vertices) {
        for (double& coordinate : vertex) {
            coordinate = numbers.next();
            if (!(std::fabs(coordinate) <= farthestVertex)) {
                refuseDamaged("has a contour with a coordinate of " + number(coordinate, 9) +
                              " mm");
            }
        }
    }
    return vertices;
}

void checkFlat(const std::vector<Vec3>& vertices)
{
    const auto [lowest, highest] = std::minmax_element(
        vertices.begin(), vertices.end(), [](const Vec3& a, const Vec3& b) { return a[2] < b[2]; });
    const double height = (*highest)[2] - (*lowest)[2];
    if (height > flatness) {
        refuseUnsupported("has a contour that does not lie in a plane of constant z: it is " +
                          number(height) + " mm high");
    }
}

/** Adds a contour to a structure, or counts it as left out. @throws Refusal */
void takeContour(Structure& structure, const DicomValues& contour)
{
    const std::string type = contour.text(tags::geometricType);
    ContoursLeftOut& leftOut = structure.leftOut;
    if (type == "POINT") {
        ++leftOut.points;
    } else if (type == "OPEN_PLANAR" || type == "OPEN_NONPLANAR") {
        ++leftOut.open;
    } else if (type == "CLOSED_PLANAR" || type == "CLOSEDPLANAR_XOR") {
        std::vector<Vec3> vertices = verticesOf(contour);
        if (vertices.size() < 3) {
            ++leftOut.few;
            return;
        }
        checkFlat(vertices);
        structure.contours.push_back({std::move(vertices)});
    } else {
        refuseDamaged(type.empty() ? "has a contour that does not tell its Contour Geometric Type"
                                   : "has a contour of the unknown type \"" + excerpt(type) + "\"");
    }
}

std::optional<std::array<std::uint8_t, 3>> colourOf(const DicomValues& values)
{
    std::array<std::uint8_t, 3> colour{};
    DicomNumbers numbers = values.list(tags::displayColour);
    if (numbers.count() != colour.size()) {
        return {};
    }
    for (std::uint8_t& part : colour) {
        const Result<double> value = resultOf([&numbers] { return numbers.next(); });
        if (!value || !(*value >= 0 && *value <= 255) || *value != std::floor(*value)) {
            return {};
        }
        part = static_cast<std::uint8_t>(*value);
    }
    return colour;
}

/** Where a file tells it once for all: itself, or in its only frame. */
std::string commonFrameOfReference(const DicomValues& values, DicomTexts& texts)
{
    if (values.has(dicomTags::frameOfReference)) {
        return texts.text(values, dicomTags::frameOfReference);
    }
    std::vector<std::string> frames;
    forEachDicomItem(values, tags::framesOfReference, [&](const DicomValues& frame) {
        frames.push_back(texts.text(frame, dicomTags::frameOfReference));
    });
    return frames.size() == 1 ? frames[0] : std::string();
}

/** Puts a set together from the three sequences that tell about its structures. */
class SetReader
{
public:
    explicit SetReader(const DicomValues& file) : file_(file), texts_(file) {}

    StructureSet read()
    {
        set_.format = "DICOM RT Structure Set";
        set_.canTellFrame = true;
        set_.label = texts_.text(file_, tags::setLabel);
        set_.sopInstance = texts_.text(file_, dicomTags::sopInstance);
        set_.patientId = texts_.text(file_, dicomTags::patientId);
        commonFrame_ = commonFrameOfReference(file_, texts_);
        forEachDicomItem(file_, tags::rois, [this](const DicomValues& roi) { addRoi(roi); });
        if (set_.structures.empty()) {
            refuseDamaged("is an RT Structure Set without structures");
        }
        forEachDicomItem(file_, tags::roiContours,
                         [this](const DicomValues& item) { addContours(item); });
        forEachDicomItem(file_, tags::observations,
                         [this](const DicomValues& item) { addObservation(item); });
        warn();
        makeNamesUnique(set_.structures);
        return std::move(set_);
    }

private:
    void addRoi(const DicomValues& roi)
    {
        Structure structure;
        structure.number = roi.wholeNumber(tags::roiNumber);
        structure.name = texts_.text(roi, tags::roiName);
        if (structure.name.empty()) {
            structure.name = "ROI " + std::to_string(structure.number);
        }
        structure.frameOfReference = roi.has(tags::roiFrameOfReference)
                                         ? texts_.text(roi, tags::roiFrameOfReference)
                                         : commonFrame_;
        if (!places_.emplace(structure.number, set_.structures.size()).second) {
            refuseDamaged("has two structures of the ROI Number " +
                          std::to_string(structure.number));
        }
        set_.structures.push_back(std::move(structure));
    }

    Structure* find(const DicomValues& item)
    {
        const auto place = places_.find(item.wholeNumber(tags::referencedRoi));
        return place == places_.end() ? nullptr : &set_.structures[place->second];
    }

    void addContours(const DicomValues& item)
    {
        Structure* const structure = find(item);
        if (structure == nullptr) {
            undefined_.insert(item.wholeNumber(tags::referencedRoi));
            return;
        }
        if (!seen_.insert(structure->number).second) {
            inTwoPlaces_.insert(structure->number);
        }
        if (item.has(tags::displayColour)) {
            structure->colour = colourOf(item);
            withoutColour_ += structure->colour ? 0U : 1U;
        }
        std::size_t count = 0;
        forEachDicomItem(item, tags::contours, [&](const DicomValues& contour) {
            ++count;
            if (structure->refusal.empty()) {
                tryContour(*structure, contour, count);
            }
        });
    }

    static void tryContour(Structure& structure, const DicomValues& contour, std::size_t place)
    {
        try {
            takeContour(structure, contour);
        } catch (const Refusal& refusal) {
            structure.refusal =
                refusal.error().sentence + " (contour " + std::to_string(place) + ")";
            structure.contours = {};
        }
    }

    void addObservation(const DicomValues& item)
    {
        Structure* const structure = item.has(tags::referencedRoi) ? find(item) : nullptr;
        if (structure != nullptr && structure->type.empty()) {
            structure->type = texts_.text(item, tags::interpretedType);
        }
    }

    void warn()
    {
        set_.warnings = texts_.warnings();
        if (!undefined_.empty()) {
            set_.warnings.push_back("has contours of ROI numbers that it does not define (" +
                                    some(undefined_) + "); they are left out");
        }
        if (!inTwoPlaces_.empty()) {
            set_.warnings.push_back("has the contours of ROI numbers in several places (" +
                                    some(inTwoPlaces_) + "); all of them are taken");
        }
        if (withoutColour_ > 0) {
            set_.warnings.push_back("has display colours that are none (left without one: " +
                                    grouped(withoutColour_) + ")");
        }
    }

    /** The first few of many numbers. */
    static std::string some(const std::set<std::int32_t>& numbers)
    {
        constexpr std::size_t most = 5;
        const auto shown = static_cast<std::ptrdiff_t>(std::min(most, numbers.size()));
        const std::vector<std::int32_t> first(numbers.begin(), std::next(numbers.begin(), shown));
        return join(first, ", ") + (numbers.size() > most ? ", ..." : "");
    }

    DicomValues file_;
    DicomTexts texts_;
    StructureSet set_;
    std::string commonFrame_;
    std::map<std::int32_t, std::size_t> places_; // of the structures, by their numbers
    std::set<std::int32_t> seen_;                // numbers that have had contours
    std::set<std::int32_t> inTwoPlaces_;
    std::set<std::int32_t> undefined_;
    std::size_t withoutColour_ = 0;
};

} // namespace

StructureSet readRtStructureSet(ByteView bytes, const Deflate& deflate)
{
    const DicomFile file = openDicomFile(bytes, deflate, mostUnpackedBytes);
    checkIsStructures(file);
    return SetReader(file.values()).read();
}

bool isRtStructureSet(const DicomFile& file)
{
    return isDicomObject(file, "1.2.840.10008.5.1.4.1.1.481.3", "RTSTRUCT");
}

} // namespace files
