// Internals shared by the data family: slot layout of array elements, the array growth and
// index helpers used by more than one export, and the hook through which the property tree
// supplies the text form of reference nodes.
#pragma once

#include <cstddef>
#include <string>

#include "qvtools/data.h"

namespace qv::data {

// Element layout of an array of a given type: slot size in bytes and whether values are inline.
struct SlotLayout {
    int size;
    bool inlineValues;
};
SlotLayout slotLayout(int dataType);

// True for the numbers -29..-1 except the unused -23 and -27.
bool isKnownType(int dataType);

// Slot `index` of an array, or null when the slot lies outside the allocated storage (negative
// indexes, or indexes at or above the capacity after a shrink below count).
unsigned char* slotAt(const QVArray* array, int index);
// The element at `index` as GetValue gives it (slot pointer or stored pointer), without the
// count check and without logging; null for a slot outside the storage.
void* elementAt(const QVArray* array, int index);
// Slots that are both counted and allocated: the elements that can be visited safely.
int usableCount(const QVArray* array);
// The pointer held in a slot of a pointer array, and storing one.
void* readPointer(const unsigned char* slot, int elementSize);
void writePointer(unsigned char* slot, int elementSize, const void* element);

// Writes the text form of a reference node's data (the referenced node) into `text` (512 bytes);
// returns 0 or a negative code. The property tree installs it; until then reference nodes have
// no text form.
using RefNodeTextFn = int (*)(const void* data, char* text);
void setRefNodeTextHook(RefNodeTextFn fn);
RefNodeTextFn refNodeTextHook();

// Appends one element as AppendValue does, for callers that have checked the array.
int appendElement(QVArray* array, const void* value);

// The text of the array's elements as QVWriteArrayData writes it, appended to `out`; 0, or a
// negative code logged under the export `kFn`.
int arrayText(const QVArray* array, int lineWidth, char separator, std::string& out, const char* kFn);

}  // namespace qv::data
