/**
 * @file elements.h
 * The elements of DICOM files. Nothing is copied: all values lie in the bytes that were read.
 */
#ifndef ZARNGI_FILES_FORMATS_DICOM_ELEMENTS_H
#define ZARNGI_FILES_FORMATS_DICOM_ELEMENTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/bytes.h"

namespace files
{

/** A kind of element, and what it is called in messages. */
struct DicomTag {
    std::uint32_t number; ///< group in the upper half
    const char* name;
};

/** How elements are written: with or without their type, and in which byte order. */
struct DicomSyntax {
    bool isExplicit = true;
    bool isBigEndian = false;
};

struct DicomElement {
    std::uint32_t tag = 0;
    std::string_view type;  ///< empty in the implicit syntax
    ByteView value;         ///< without the mark that ends an open one
    bool isOpen = false;    ///< it has no length: items up to a mark
    DicomSyntax itemSyntax; ///< of the elements inside, if it is a sequence
};

/** The elements of a file or of an item; what is nested in them is checked but not kept. */
class DicomDataSet
{
public:
    explicit DicomDataSet(std::vector<DicomElement> elements);

    /** The element, or null where there is none. @throws Refusal when there are two. */
    const DicomElement* find(const DicomTag& tag) const;

private:
    std::vector<DicomElement> elements_; // by tag
};

/** What stands before the data set of a file. */
struct DicomStart {
    DicomDataSet meta;          ///< the elements of group 2; a file may lack them
    std::string transferSyntax; ///< its UID, empty where the file does not tell it
    DicomSyntax syntax;         ///< of the data set
    ByteView dataSet;           ///< the rest of the file
};

/**
 * Reads preamble and meta information, each if there is one. Where these do not tell the syntax of
 * the data set, it is taken from the first element.
 * @throws Refusal for an element that is damaged or cut short.
 */
DicomStart readDicomStart(ByteView file);

/**
 * Reads all elements of a data set or an item, and checks that each, and whatever is nested in it,
 * lies within what holds it.
 * @throws Refusal for what is damaged or cut short, nested too deep, or of an unknown type.
 */
DicomDataSet readDicomElements(ByteView dataSet, const DicomSyntax& syntax);

/** Reads the elements that are whole in the beginning of a data set; the rest is no error. */
DicomDataSet readWholeDicomElements(ByteView beginning, const DicomSyntax& syntax);

/**
 * The contents of the items of a sequence, or of the pieces of packed pixel data, whose first is
 * the table of their positions. readDicomElements() with the element's `itemSyntax` reads an item.
 * @throws Refusal when the element does not consist of items.
 */
std::vector<ByteView> dicomItems(const DicomElement& element);

} // namespace files

#endif
