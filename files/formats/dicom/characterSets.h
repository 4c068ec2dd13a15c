/**
 * @file characterSets.h
 * The texts of DICOM in the sets of characters that a data set declares.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_CHARACTERSETS_H
#define ZARNGI_FILES_FORMATS_DICOM_CHARACTERSETS_H

#include <string>
#include <string_view>
#include <vector>

#include "files/characters/codedSets.h"

namespace files
{

/** What Specific Character Set declares. */
struct DicomCharacterSets {
    enum class Coding {
        untold,  ///< nothing beyond ASCII, or nothing that is known
        utf8,    ///< ISO_IR 192
        gb18030, ///< GB18030 and GBK, which is a part of it
        called   ///< sets of ISO 2022: the first one, and those that escape sequences call
    };

    Coding coding = Coding::untold;
    std::vector<std::string> numbers; ///< of the sets of Coding::called, the first one first
    std::string unknown;              ///< a term that is none
    bool isMixed = false;             ///< terms that exclude one another; the first one counts
};

/** @param value of Specific Character Set; "ISO-IR 100" is taken for "ISO_IR 100". */
DicomCharacterSets dicomCharacterSets(std::string_view value);

/** A text in UTF-8, and what had to be assumed for it. */
struct DicomText {
    enum class Assumed { nothing, utf8, latin1 };

    std::string text;
    bool isDamaged = false; ///< U+FFFD stands for bytes that are no character
    Assumed assumed = Assumed::nothing;
    const CodedSet* undeclared = nullptr; ///< called, but not declared
    const CodedSet* uncalled = nullptr;   ///< declared and taken, but not called
};

/** Whether `^` and `=` set parts of a name apart, where all sets but the first one end. */
enum class DicomTextKind { text, personName };

DicomText dicomText(std::string_view bytes, const DicomCharacterSets& sets,
                    DicomTextKind kind = DicomTextKind::text);

} // namespace files

#endif
