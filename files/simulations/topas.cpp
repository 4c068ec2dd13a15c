#include <cmath>
#include <limits>
#include <span>

#include "files/error.h"
#include "files/formats/textHeader.h"
#include "files/simulations/simulations.h"
#include "files/simulations/topasHead.h"
#include "files/storedValues.h"
#include "files/text.h"

namespace files
{

namespace
{

/** What a filter by structures writes for bins outside of them. */
constexpr double excluded = -1;

/** Collects the statistics of bins, in any order. */
class Bins
{
public:
    Bins(const TopasHead& head, bool keepsUncertainty)
        : statistics_(head.statistics), size_(head.grid.size), voxels_(checkGeometry(head.grid)),
          values_(voxels_, 0.0F), isTold_(voxels_)
    {
        if (keepsUncertainty && statistics_.histories && statistics_.deviation) {
            uncertainty_.assign(voxels_, std::numeric_limits<float>::quiet_NaN());
        }
    }

    std::size_t voxels() const { return voxels_; }
    const std::array<std::int64_t, 3>& size() const { return size_; }

    /** @param place where it stands, for messages. @throws Refusal */
    void add(std::size_t bin, std::span<const double> numbers, const std::string& place);

    /** @throws Refusal when bins are missing that may not be. */
    DoseImage take(const TopasHead& head);

private:
    double doseOf(std::span<const double> numbers, const std::string& place) const;
    void setUncertainty(std::size_t bin, std::span<const double> numbers, const std::string& place);
    void setGaps(DoseImage& dose);
    std::string nameOf(std::size_t bin) const;

    const TopasStatistics& statistics_;
    std::array<std::int64_t, 3> size_;
    std::size_t voxels_;
    LargeVector<float> values_;
    std::vector<unsigned char> isTold_;
    LargeVector<float> uncertainty_;
    std::vector<unsigned char> isMeasured_; ///< empty: all bins are
    std::size_t gaps_ = 0;
};

/** "1, 2, 3": its indices. */
std::string Bins::nameOf(std::size_t bin) const
{
    std::array<std::size_t, 3> indices{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        indices[axis] = bin % static_cast<std::size_t>(size_[axis]);
        bin /= static_cast<std::size_t>(size_[axis]);
    }
    return join(indices, ", ");
}

/** The dose that the statistics tell, Sum before Mean, where they agree. */
double Bins::doseOf(std::span<const double> numbers, const std::string& place) const
{
    constexpr double agreement = 1e-6; // of the dose: Sum and Mean are added up apart
    const double dose = numbers[statistics_.sum ? *statistics_.sum : *statistics_.mean];
    if (dose < 0 && dose != excluded) {
        refuseDamaged("has a dose of " + number(dose) + " (" + place + ")");
    }
    if (statistics_.sum && statistics_.mean && statistics_.histories && dose != excluded) {
        const double expected = numbers[*statistics_.mean] * numbers[*statistics_.histories];
        if (!(std::fabs(expected - dose) <= agreement * dose)) {
            refuseDamaged("tells a Sum that is not its Mean times its histories (" + place + ")");
        }
    }
    return dose;
}

void Bins::setUncertainty(std::size_t bin, std::span<const double> numbers,
                          const std::string& place)
{
    const double histories = numbers[*statistics_.histories];
    const double deviation = numbers[*statistics_.deviation];
    if (!(deviation >= 0) || !(histories >= 0)) {
        refuseDamaged("has a standard deviation of " + number(deviation) + " of " +
                      number(histories) + " histories (" + place + ")");
    }
    if (histories > 0) {
        const double root = std::sqrt(histories);
        uncertainty_[bin] =
            static_cast<float>(statistics_.sum ? deviation * root : deviation / root);
    }
}

void Bins::add(std::size_t bin, std::span<const double> numbers, const std::string& place)
{
    if (isTold_[bin] != 0) {
        refuseDamaged("tells the bin " + nameOf(bin) + " twice (" + place + ")");
    }
    isTold_[bin] = 1;
    const double dose = doseOf(numbers, place);
    if (dose == excluded) {
        isMeasured_.resize(voxels_, 1);
        isMeasured_[bin] = 0;
        ++gaps_;
        return;
    }
    values_[bin] = static_cast<float>(dose);
    if (!uncertainty_.empty() && dose > 0) {
        setUncertainty(bin, numbers, place);
    }
}

void Bins::setGaps(DoseImage& dose)
{
    if (gaps_ == voxels_) {
        refuseUnsupported("holds no dose: all bins are outside the structures of a filter");
    }
    if (gaps_ > 0) {
        dose.measurement.emplace();
        dose.measurement->kind = Measurement::Kind::grid;
        dose.measurement->isInSpace = true;
        dose.measurement->isMeasured = std::move(isMeasured_);
        dose.measurement->gaps = gaps_;
        dose.warnings.push_back("has " + grouped(gaps_) +
                                " bins of -1, outside the structures of a "
                                "filter; they count as places without a dose");
    }
}

DoseImage Bins::take(const TopasHead& head)
{
    for (std::size_t bin = 0; bin < voxels_ && !head.isSparse; ++bin) {
        if (isTold_[bin] == 0) {
            refuseDamaged("is cut short, or bins were left out: it does not tell the bin " +
                          nameOf(bin));
        }
    }
    DoseImage dose;
    dose.image = toPatientAxes(head.grid, std::move(values_));
    dose.uncertainty = std::move(uncertainty_);
    setGaps(dose);
    return dose;
}

/** Reads the numbers of a line; `numbers` are used anew. */
void readRow(std::string_view line, const std::string& place, std::vector<double>& numbers)
{
    numbers.clear();
    for (std::size_t start = 0; start <= line.size();) {
        const auto end = std::min(line.find(',', start), line.size());
        const std::string_view cell = stripped(line.substr(start, end - start));
        numbers.push_back(parseNumber(cell));
        if (!std::isfinite(numbers.back())) {
            refuseDamaged("has \"" + excerpt(cell) + "\" where a number should be (" + place + ")");
        }
        start = end + 1;
    }
}

/** The bin that the indices before the statistics tell, x fastest. */
std::size_t binOf(std::span<const double> indices, const Bins& bins, const std::string& place)
{
    const auto whole = [&place](double index, double count) {
        if (!(index >= 0 && index < count && index == std::floor(index))) {
            refuseDamaged("has an index of " + number(index) + " where there are " + number(count) +
                          " bins (" + place + ")");
        }
        return static_cast<std::size_t>(index);
    };
    const auto [nx, ny, nz] = bins.size();
    const auto x = static_cast<std::size_t>(nx);
    const auto y = static_cast<std::size_t>(ny);
    const auto z = static_cast<std::size_t>(nz);
    if (indices.size() == 1) { // z fastest
        const std::size_t index = whole(indices[0], static_cast<double>(bins.voxels()));
        return index / (y * z) + x * (index / z % y + y * (index % z));
    }
    return whole(indices[0], static_cast<double>(nx)) +
           x * (whole(indices[1], static_cast<double>(ny)) +
                y * whole(indices[2], static_cast<double>(nz)));
}

void readText(ByteView file, const TopasHead& head, Bins& bins)
{
    const std::size_t indices = head.hasSingleIndex ? 1 : 3;
    const std::size_t cells = indices + head.statistics.count;
    std::vector<double> numbers;
    Lines lines(part(file, head.length));
    for (std::size_t line = head.lines + 1; const auto text = lines.next(); ++line) {
        if (stripped(*text).empty()) {
            continue;
        }
        const std::string place = "line " + std::to_string(line);
        readRow(*text, place, numbers);
        if (numbers.size() != cells) {
            refuseDamaged("has " + grouped(numbers.size()) + " numbers in " + place +
                          ", where there are " + grouped(indices) + " indices and " +
                          grouped(head.statistics.count) + " statistics");
        }
        const std::span<const double> all(numbers);
        bins.add(binOf(all.first(indices), bins, place), all.subspan(indices), place);
    }
}

void readBinary(ByteView values, const TopasHead& head, Bins& bins)
{
    std::vector<double> numbers(head.statistics.count);
    for (std::size_t bin = 0; bin < bins.voxels(); ++bin) {
        const std::string place = "bin " + grouped(bin + 1);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            numbers[i] =
                numberAt<double>(values.data(), sizeof(double) * (bin * numbers.size() + i), false);
            if (!std::isfinite(numbers[i])) {
                refuseDamaged("holds a value that is not a finite number (" + place + ")");
            }
        }
        bins.add(bin, numbers, place);
    }
}

void warnOf(const TopasStatistics& statistics, DoseImage& dose)
{
    dose.unit = statistics.sum ? DoseUnit::grayOfRun : DoseUnit::grayPerHistory;
    dose.warnings.emplace_back(statistics.sum ? "holds the dose of all simulated histories (Sum)"
                                              : "holds the dose of one history (Mean)");
    if (statistics.sum && statistics.mean) {
        dose.warnings.emplace_back("tells Sum and Mean; the Sum is taken");
    }
    if (statistics.deviation && !statistics.histories) {
        dose.warnings.emplace_back(
            "tells standard deviations of single histories, but not how many "
            "histories there are; no uncertainty is read");
    }
    dose.tellsPosition = false;
    dose.warnings.emplace_back("tells no position; its middle is put at 0, 0, 0");
}

/** Before memory is taken for bins that are not there. */
void checkLength(const TopasHead& head, std::size_t bytes)
{
    const std::size_t voxels = checkGeometry(head.grid);
    const std::size_t leastBytes = 2 * (head.statistics.count + 1); // digit and comma or line end
    if (!head.isSparse && bytes / leastBytes < voxels) {
        refuseDamaged("is cut short: it has fewer lines than its " + grouped(voxels) + " bins");
    }
    checkIsTold(voxels, bytes);
}

} // namespace

DoseImage readTopas(ByteView file, const FindFile& find, const Host& host)
{
    const TopasHead head = readTopasHead(file);
    Bytes companion;
    if (head.binaryName.empty()) {
        checkLength(head, file.size() - head.length);
        if (file.back() != '\n') {
            refuseDamaged("is cut short within its last line");
        }
    } else {
        companion = valueOf(find(head.binaryName));
        checkBytes(companion.view(), std::uint64_t{sizeof(double)} * head.statistics.count *
                                         checkGeometry(head.grid));
    }
    Bins bins(head, host.keepsUncertainty);
    if (head.binaryName.empty()) {
        readText(file, head, bins);
    } else {
        readBinary(companion.view(), head, bins);
    }
    DoseImage dose = bins.take(head);
    warnOf(head.statistics, dose);
    return dose;
}

} // namespace files
