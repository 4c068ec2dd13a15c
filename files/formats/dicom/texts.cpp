#include "files/formats/dicom/texts.h"

#include <algorithm>

#include "files/characters/utf8.h"
#include "files/text.h"

namespace files
{

namespace
{

constexpr DicomTag specificCharacterSet{0x00080005, "Specific Character Set"};

} // namespace

DicomTexts::DicomTexts(const DicomValues& file) : declared_(file.text(specificCharacterSet))
{
}

std::string DicomTexts::text(const DicomValues& values, const DicomTag& tag, DicomTextKind kind)
{
    const std::string_view bytes = asText(values.bytes(tag));
    const bool hasOwn = values.has(specificCharacterSet);
    const std::string declared = hasOwn ? values.text(specificCharacterSet) : declared_;
    const DicomCharacterSets sets = dicomCharacterSets(declared);
    DicomText decoded = dicomText(bytes, sets, kind);
    const bool isPlain = isAscii(bytes) && bytes.find('\x1B') == std::string_view::npos;
    if (!isPlain) {
        note(decoded, sets, declared);
    }
    return oneLine(decoded.text);
}

void DicomTexts::note(const DicomText& text, const DicomCharacterSets& sets,
                      const std::string& declared)
{
    using Assumed = DicomText::Assumed;
    if (!sets.unknown.empty()) {
        warn("declares the unknown character set \"" + excerpt(sets.unknown) + "\"");
    }
    if (sets.isMixed) {
        warn("declares character sets that exclude one another (" + excerpt(declared) + ")" +
             (text.assumed == Assumed::nothing ? "; the first one is taken" : ""));
    }
    if (text.assumed != Assumed::nothing) {
        warn(std::string("does not tell its character set; texts beyond ASCII are taken as ") +
             (text.assumed == Assumed::utf8 ? "UTF-8" : "Latin-1"));
    }
    if (text.undeclared != nullptr) {
        warn("has texts in the character set ISO 2022 IR " + std::string(text.undeclared->number) +
             ", which it does not declare");
    }
    if (text.uncalled != nullptr) {
        warn("has texts without the escape sequence of their character set; they are taken as ISO "
             "2022 IR " +
             std::string(text.uncalled->number));
    }
    if (text.isDamaged) {
        warn("has texts with bytes that are no characters of its character set; U+FFFD stands for "
             "each");
    }
}

void DicomTexts::warn(const std::string& sentence)
{
    if (std::find(warnings_.begin(), warnings_.end(), sentence) == warnings_.end()) {
        warnings_.push_back(sentence);
    }
}

} // namespace files
