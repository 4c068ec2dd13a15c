#include "files/structures/segmentation.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "files/error.h"
#include "files/formats/dicom/identity.h"
#include "files/formats/dicom/texts.h"
#include "files/structures/labelMask.h"
#include "files/structures/segmentFrames.h"
#include "files/structures/structureNames.h"
#include "files/text.h"

namespace files
{

namespace
{

namespace tags
{
constexpr DicomTag contentLabel{0x00700080, "Content Label"};
constexpr DicomTag segmentationType{0x00620001, "Segmentation Type"};
constexpr DicomTag segments{0x00620002, "Segment Sequence"};
constexpr DicomTag segmentNumber{0x00620004, "Segment Number"};
constexpr DicomTag segmentLabel{0x00620005, "Segment Label"};
} // namespace tags

void checkIsBinary(const DicomFile& file)
{
    const DicomValues values = file.values();
    const std::string type = values.text(tags::segmentationType);
    if (type == "LABELMAP") {
        refuseUnsupported(
            "is a DICOM Segmentation of labels (LABELMAP), which is not read; save it "
            "as BINARY, or as a label mask in NRRD or NIfTI");
    }
    if (type != "BINARY") {
        refuseUnsupported("is a DICOM Segmentation with a Segmentation Type of \"" + excerpt(type) +
                          "\", whose values are no structures; save it as BINARY");
    }
    const bool isOfBits = values.integer(dicomTags::bitsAllocated) == 1 &&
                          values.integer(dicomTags::samplesPerPixel) == 1;
    if (!isOfBits) {
        refuseDamaged("is a BINARY DICOM Segmentation whose voxels have more than one bit");
    }
    if (values.isBigEndian) {
        refuseUnsupported(
            "is a DICOM Segmentation in big endian, in which the order of its bits is "
            "not clear; save it in little endian");
    }
}

/** The bits of all frames, one behind the other, the lowest of a byte first. */
class FrameBits
{
public:
    FrameBits(const DicomFile& file, std::size_t voxels, std::size_t frames) : voxels_(voxels)
    {
        const DicomElement* const pixels = file.data.find(dicomTags::pixelData);
        if (pixels == nullptr) {
            refuseDamaged("is a DICOM Segmentation without Pixel Data");
        }
        if (pixels->isOpen) {
            refuseUnsupported("is a DICOM Segmentation whose Pixel Data is packed; save it without "
                              "compression");
        }
        bytes_ = pixels->value;
        const std::uint64_t needed = (std::uint64_t{voxels} * frames + 7) / 8;
        if (bytes_.size() < needed || bytes_.size() > needed + needed % 2) {
            refuseDamaged("is a DICOM Segmentation whose frames need " + grouped(needed) +
                          " bytes, and whose Pixel Data has " + grouped(bytes_.size()));
        }
    }

    /** Calls `use` with each voxel of a frame that is set. */
    template <class Use> void forEach(std::size_t frame, const Use& use) const
    {
        const std::uint64_t first = std::uint64_t{frame} * voxels_;
        for (std::size_t voxel = 0; voxel < voxels_; ++voxel) {
            const std::uint64_t bit = first + voxel;
            const unsigned byte = bytes_[static_cast<std::size_t>(bit / 8)];
            if (byte == 0) {
                voxel += 7 - bit % 8; // most of them
            } else if ((byte >> bit % 8 & 1) != 0) {
                use(voxel);
            }
        }
    }

private:
    ByteView bytes_;
    std::size_t voxels_; // of a frame
};

/** Puts a set together from segments and frames. */
class SegmentReader
{
public:
    explicit SegmentReader(const DicomFile& file)
        : values_(file.values()), texts_(values_),
          frames_(segmentFrames(values_, dicomFrameCount(values_))),
          grid_(segmentGrid(frames_, values_.integer(dicomTags::columns),
                            values_.integer(dicomTags::rows))),
          plane_(static_cast<std::size_t>(grid_.geometry.size[0] * grid_.geometry.size[1])),
          bits_(file, plane_, frames_.size())
    {
    }

    StructureSet read()
    {
        set_.format = "DICOM Segmentation";
        set_.canTellFrame = true;
        set_.label = texts_.text(values_, tags::contentLabel);
        set_.sopInstance = texts_.text(values_, dicomTags::sopInstance);
        set_.patientId = texts_.text(values_, dicomTags::patientId);
        frameOfReference_ = texts_.text(values_, dicomTags::frameOfReference);
        forEachDicomItem(values_, tags::segments,
                         [this](const DicomValues& segment) { addSegment(segment); });
        if (set_.structures.empty()) {
            refuseDamaged("is a DICOM Segmentation without segments");
        }
        findFrames();
        fillLayers();
        set_.warnings.insert(set_.warnings.begin(), texts_.warnings().begin(),
                             texts_.warnings().end());
        set_.warnings.insert(set_.warnings.end(), grid_.warnings.begin(), grid_.warnings.end());
        makeNamesUnique(set_.structures);
        return std::move(set_);
    }

private:
    void addSegment(const DicomValues& segment)
    {
        Structure structure;
        structure.number = static_cast<int>(segment.integer(tags::segmentNumber));
        structure.name = texts_.text(segment, tags::segmentLabel);
        if (structure.name.empty()) {
            structure.name = "segment " + std::to_string(structure.number);
        }
        structure.frameOfReference = frameOfReference_;
        if (structure.number == 0 ||
            !framesOf_.try_emplace(structure.number, std::vector<std::size_t>()).second) {
            refuseDamaged("has a segment of the number 0, or two of one number (" +
                          std::to_string(structure.number) + ")");
        }
        set_.structures.push_back(std::move(structure));
    }

    void findFrames()
    {
        std::set<std::pair<std::int32_t, std::size_t>> seen;
        std::set<std::int32_t> undefined;
        for (std::size_t i = 0; i < frames_.size(); ++i) {
            const std::int32_t number = *frames_[i].segment;
            const auto found = framesOf_.find(number);
            if (found == framesOf_.end()) {
                undefined.insert(number);
                continue;
            }
            if (!seen.emplace(number, grid_.planes[i]).second) {
                refuseDamaged("has two frames of segment " + std::to_string(number) +
                              " in one plane");
            }
            found->second.push_back(i);
        }
        if (!undefined.empty()) {
            set_.warnings.push_back("has frames of segments that it does not define (" +
                                    grouped(undefined.size()) + "); they are left out");
        }
    }

    /** Segments that share a voxel lie in layers of their own. */
    void fillLayers()
    {
        std::vector<LargeVector<float>> layers;
        std::vector<std::size_t> layerOf;
        for (const Structure& structure : set_.structures) {
            const std::vector<std::size_t>& frames = framesOf_[structure.number];
            std::size_t layer = 0;
            while (layer < layers.size() && !isFree(layers[layer], frames)) {
                ++layer;
            }
            if (layer == layers.size()) {
                layers.emplace_back(plane_ * static_cast<std::size_t>(grid_.geometry.size[2]),
                                    0.0F);
            }
            forEachVoxel(frames, [&](std::size_t voxel) {
                layers[layer][voxel] = static_cast<float>(structure.number);
            });
            layerOf.push_back(layer);
        }
        std::vector<std::shared_ptr<const LabelGrid>> grids;
        for (LargeVector<float>& layer : layers) {
            const Image image = toPatientAxes(grid_.geometry, std::move(layer));
            grids.push_back(labelGridOf(image.geometry, image.values));
        }
        for (std::size_t i = 0; i < layerOf.size(); ++i) {
            Structure& structure = set_.structures[i];
            structure.region = LabelRegion{grids[layerOf[i]], structure.number};
        }
    }

    bool isFree(const LargeVector<float>& layer, const std::vector<std::size_t>& frames) const
    {
        bool isFree = true;
        forEachVoxel(frames, [&](std::size_t voxel) { isFree = isFree && layer[voxel] == 0; });
        return isFree;
    }

    /** Of the frames of a segment, in the grid. */
    template <class Use>
    void forEachVoxel(const std::vector<std::size_t>& frames, const Use& use) const
    {
        for (const std::size_t frame : frames) {
            const std::size_t first = grid_.planes[frame] * plane_;
            bits_.forEach(frame, [&](std::size_t voxel) { use(first + voxel); });
        }
    }

    DicomValues values_;
    DicomTexts texts_;
    std::vector<SegmentFrame> frames_;
    SegmentGrid grid_;
    std::size_t plane_; // voxels of one
    FrameBits bits_;
    StructureSet set_;
    std::string frameOfReference_;
    std::map<int, std::vector<std::size_t>> framesOf_; // by the numbers of segments
};

} // namespace

bool isSegmentation(const DicomFile& file)
{
    return isDicomObject(file, "1.2.840.10008.5.1.4.1.1.66.4", "SEG");
}

StructureSet readSegmentation(const DicomFile& file)
{
    checkIsBinary(file);
    return SegmentReader(file).read();
}

} // namespace files
