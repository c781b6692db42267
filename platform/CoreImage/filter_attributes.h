// filter_attributes.h - the contents of attributes.json, compiled in.
//
// make_attribute_table.py writes the tables when the library is built. They are constants without pointers: the loader
// has nothing to relocate, and all processes share their pages.
//
// Filters and the keys of a filter are sorted by name. Positions are indices into the tables; ranges exclude their end.

#pragma once

// How many different texts there are, and each one, ending with a zero: kAttributeTextPool +
// kAttributeTextOffsets[index].
extern const unsigned kAttributeTextCount;
extern const char kAttributeTextPool[];
extern const unsigned short kAttributeTextOffsets[];

extern const double kAttributeNumbers[];

enum class AttributeValueKind : unsigned char { kText, kNumber, kList };

// An attribute of a key, such as CIAttributeDefault.
struct AttributeRow {
    unsigned short name;      // a text
    unsigned short position;  // of the text, or of the first number
    unsigned short count;     // of the numbers
    AttributeValueKind kind;
};
extern const AttributeRow kAttributeRows[];

struct FilterKeyRow {
    unsigned short name;        // a text
    unsigned short className;   // a text
    unsigned short begin, end;  // in kAttributeRows
};
extern const FilterKeyRow kFilterKeyRows[];

struct FilterDescriptionRow {
    unsigned short name, displayName, availableMac;  // texts
    unsigned short categoryBegin, categoryEnd;       // in kFilterCategories, whose entries are texts
    unsigned short keyBegin, keyEnd;                 // in kFilterKeyRows
};
extern const unsigned short kFilterCategories[];
extern const FilterDescriptionRow kFilterRows[];
extern const unsigned kFilterRowCount;
