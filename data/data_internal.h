// Internals shared by the data family: slot layout of array elements, the array growth and
// index helpers used by more than one export, and the hook through which the property tree
// supplies the text form of reference nodes.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

#include "qvtools/data.h"

namespace qv::data {

// Copies at most 511 characters of `source` and a terminator into a 512-byte `target`.
inline void copyText(char* target, const char* source) {
    const std::size_t n = strnlen(source, QV_STRING_SIZE - 1);
    std::memcpy(target, source, n);
    target[n] = '\0';
}

// Element layout of an array of a given type: slot size in bytes and whether values are inline.
struct SlotLayout {
    int size;
    bool inlineValues;
};
SlotLayout slotLayout(int dataType);

// Slot `index` of an array, or null when the slot lies outside the allocated storage (negative
// indexes, or indexes at or above the capacity after a shrink below count).
inline unsigned char* slotAt(const QVArray* array, int index) {
    if (!array->values || index < 0 || index >= array->capacity) return nullptr;
    return static_cast<unsigned char*>(array->values) +
           static_cast<std::size_t>(index) * static_cast<std::size_t>(array->elementSize);
}
// The pointer held in a slot of a pointer array (slots narrower than a pointer read as far as
// they reach), and storing one.
inline void* readPointer(const unsigned char* slot, int elementSize) {
    void* element = nullptr;
    std::memcpy(&element, slot, elementSize < int(sizeof element) ? elementSize : sizeof element);
    return element;
}
inline void writePointer(unsigned char* slot, int elementSize, const void* element) {
    std::memcpy(slot, &element, elementSize < int(sizeof element) ? elementSize : sizeof element);
}
// The element at `index` as GetValue gives it (slot pointer or stored pointer), without the
// count check and without logging; null for a slot outside the storage.
inline void* elementAt(const QVArray* array, int index) {
    unsigned char* slot = slotAt(array, index);
    if (!slot || array->inlineValues) return slot;
    return readPointer(slot, array->elementSize);
}
// Slots that are both counted and allocated: the elements that can be visited safely.
int usableCount(const QVArray* array);

// Writes the text form of a reference node's data (the referenced node) into `text` (512 bytes);
// returns 0 or a negative code. The property tree installs it (once, when it is loaded); until
// then reference nodes have no text form and DataToString treats them as unconvertible.
using RefNodeTextFn = int (*)(const void* data, char* text);
void setRefNodeTextHook(RefNodeTextFn fn);
RefNodeTextFn refNodeTextHook();

// Appends one element as AppendValue does, for callers that have checked the array; failures
// are logged under the export `kFn`.
int appendElement(QVArray* array, const void* value, const char* kFn);

// The text of the array's elements as QVWriteArrayData writes it, appended to `out`; 0, or a
// negative code logged under the export `kFn`.
int arrayText(const QVArray* array, int lineWidth, char separator, std::string& out, const char* kFn);

}  // namespace qv::data
