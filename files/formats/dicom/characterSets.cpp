#include "files/formats/dicom/characterSets.h"

#include <algorithm>
#include <utility>

#include "files/characters/gb18030.h"
#include "files/characters/utf8.h"
#include "files/text.h"

namespace files
{

namespace
{

using Coding = DicomCharacterSets::Coding;

constexpr char escape = '\x1B';

unsigned byteAt(std::string_view text, std::size_t place)
{
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
}

/** A term without what its spellings differ in: "iso2022ir100". */
std::string plainTerm(std::string_view term)
{
    std::string plain = lowerCase(trimmed(term));
    std::erase_if(plain, [](char c) { return c == ' ' || c == '_' || c == '-'; });
    return plain;
}

/** The number of the set that a term names; empty: none. */
std::string numberOf(std::string_view plain)
{
    for (const std::string_view prefix : {"iso2022ir", "isoir", "iso2022"}) {
        if (plain.starts_with(prefix)) {
            const std::string_view number = plain.substr(prefix.size());
            const bool isKnown =
                codedSet(number, false) != nullptr || codedSet(number, true) != nullptr;
            return isKnown ? std::string(number) : "";
        }
    }
    return plain.empty() ? "6" : "";
}

/** How a term that allows no other one has texts written. */
Coding loneCoding(std::string_view plain)
{
    if (plain == "isoir192") {
        return Coding::utf8;
    }
    const bool isChinese = plain == "gb18030" || plain == "gbk" || plain == "iso2022gbk";
    return isChinese ? Coding::gb18030 : Coding::untold;
}

/** A text in sets that escape sequences call. */
class CalledText
{
public:
    CalledText(std::string_view bytes, const DicomCharacterSets& sets, DicomTextKind kind)
        : rest_(bytes), numbers_(sets.numbers), kind_(kind)
    {
        startUpper_ = numbers_.empty() ? nullptr : codedSet(numbers_[0], true);
        const CodedSet* const lower = numbers_.empty() ? nullptr : codedSet(numbers_[0], false);
        startLower_ = lower != nullptr && lower->bytes == 1 ? lower : codedSet("6", false);
        for (const std::string& number : numbers_) {
            uncalled_ = uncalled_ == nullptr ? codedSet(number, true) : uncalled_;
        }
        startAgain();
    }

    DicomText decoded()
    {
        while (!rest_.empty()) {
            takeOne();
        }
        return std::move(result_);
    }

private:
    /** Where a line, a value or a part of a name ends, so do the sets that were called. */
    void startAgain()
    {
        lower_ = startLower_;
        upper_ = startUpper_;
    }

    void takeOne()
    {
        const unsigned byte = byteAt(rest_, 0);
        if (rest_[0] == escape) {
            takeCall();
        } else if (byte <= ' ' || byte == 0x7F) {
            take(1, byte);
            if (byte != ' ') {
                startAgain();
            }
        } else if (byte < 0x80) {
            takeLower();
        } else {
            takeUpper();
        }
    }

    void takeCall()
    {
        const CodedSet* const set = calledSet(rest_.substr(1));
        if (set == nullptr) {
            take(1, 0);
            return;
        }
        (set->isUpper ? upper_ : lower_) = set;
        rest_.remove_prefix(1 + set->call.size());
        const bool isDeclared = set->number == "6" || std::find(numbers_.begin(), numbers_.end(),
                                                                set->number) != numbers_.end();
        result_.undeclared = isDeclared ? result_.undeclared : set;
    }

    void takeLower()
    {
        const char c = rest_[0];
        const bool isSingle = lower_->bytes == 1;
        takeFrom(*lower_);
        const bool isPart = kind_ == DicomTextKind::personName && (c == '^' || c == '=');
        if (isSingle && (c == '\\' || isPart)) {
            startAgain();
        }
    }

    void takeUpper()
    {
        if (upper_ == nullptr && uncalled_ == nullptr) {
            take(1, 0);
            return;
        }
        result_.uncalled = upper_ == nullptr ? uncalled_ : result_.uncalled;
        takeFrom(upper_ == nullptr ? *uncalled_ : *upper_);
    }

    void takeFrom(const CodedSet& set)
    {
        const unsigned first = byteAt(rest_, 0);
        const unsigned second = byteAt(rest_, 1);
        const bool areOfOneHalf = set.bytes == 1 || (first & 0x80) == (second & 0x80);
        const char32_t character = areOfOneHalf ? set.character(first, second) : 0;
        take(character == 0 ? 1 : set.bytes, character);
    }

    /** Takes bytes for a character; 0: for none. */
    void take(std::size_t bytes, char32_t character)
    {
        const bool isNul = character == 0 && rest_[0] == '\0';
        result_.isDamaged = result_.isDamaged || (character == 0 && !isNul);
        appendUtf8(result_.text, character == 0 && !isNul ? noCharacter : character);
        rest_.remove_prefix(bytes);
    }

    std::string_view rest_;
    const std::vector<std::string>& numbers_;
    DicomTextKind kind_;
    const CodedSet* startLower_ = nullptr;
    const CodedSet* startUpper_ = nullptr;
    const CodedSet* uncalled_ = nullptr; // the first upper one that is declared
    const CodedSet* lower_ = nullptr;
    const CodedSet* upper_ = nullptr;
    DicomText result_;
};

/** A text in one coding. @param first its first character. */
template <class First> DicomText wholeText(std::string_view bytes, const First& first)
{
    DicomText result;
    while (!bytes.empty()) {
        const DecodedCharacter character = first(bytes);
        // What a terminal takes for commands is no part of a text.
        const bool isText = character.value != char32_t(escape) &&
                            (character.value < 0x80 || !isControl(character.value));
        const bool isTaken = character.isValid && isText;
        appendUtf8(result.text, isTaken ? character.value : noCharacter);
        result.isDamaged = result.isDamaged || !isTaken;
        bytes.remove_prefix(character.bytes);
    }
    return result;
}

DicomText latin1Text(std::string_view bytes)
{
    const CodedSet& latin1 = *codedSet("100", true);
    return wholeText(bytes, [&latin1](std::string_view text) {
        const unsigned byte = byteAt(text, 0);
        const char32_t character = byte < 0x80 ? byte : latin1.character(byte, 0);
        return DecodedCharacter{character, 1, byte < 0x80 || character != 0};
    });
}

DicomText assumedText(std::string_view bytes)
{
    const bool isInUtf8 = isUtf8(bytes);
    DicomText result = isInUtf8 ? wholeText(bytes, firstOfUtf8) : latin1Text(bytes);
    if (!isAscii(bytes)) {
        result.assumed = isInUtf8 ? DicomText::Assumed::utf8 : DicomText::Assumed::latin1;
    }
    return result;
}

} // namespace

DicomCharacterSets dicomCharacterSets(std::string_view value)
{
    DicomCharacterSets sets;
    const std::vector<std::string> terms = split(value, '\\');
    for (std::size_t i = 0; i < terms.size(); ++i) {
        const std::string plain = plainTerm(terms[i]);
        const Coding lone = loneCoding(plain);
        const std::string number = numberOf(plain);
        if (lone != Coding::untold) {
            sets.isMixed = sets.isMixed || terms.size() > 1;
            sets.coding = i == 0 ? lone : sets.coding;
        } else if (number.empty()) {
            sets.unknown = terms[i];
        } else {
            sets.numbers.push_back(number);
        }
    }
    const bool tellsMore = std::any_of(sets.numbers.begin(), sets.numbers.end(),
                                       [](const std::string& number) { return number != "6"; });
    if (sets.coding == Coding::untold && tellsMore) {
        sets.coding = Coding::called;
    }
    return sets;
}

DicomText dicomText(std::string_view bytes, const DicomCharacterSets& sets, DicomTextKind kind)
{
    switch (sets.coding) {
    case Coding::utf8:
        return wholeText(bytes, firstOfUtf8);
    case Coding::gb18030:
        return wholeText(bytes, firstOfGb18030);
    case Coding::untold:
        if (bytes.find(escape) == std::string_view::npos) {
            return assumedText(bytes);
        }
        break;
    case Coding::called:
        break;
    }
    return CalledText(bytes, sets, kind).decoded();
}

} // namespace files
