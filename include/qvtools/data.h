/* QV_Tools data family: data types, points and rectangles, binary data and the generic array.
 *
 * QVDataType numbers every kind of value the library stores; the numbers are written into files
 * and must never change. QVArray is the one growable typed container; QVBinaryData wraps a
 * block of raw bytes with the file name it is kept in. Functions return 0 or a negative error
 * code (see logging.h) unless another result is named, and log every failure. */
#ifndef QVTOOLS_DATA_H
#define QVTOOLS_DATA_H

#include "qvtools/export.h"

/* ---- data types ------------------------------------------------------------------------- */

/* The kinds of value. All negative; -23 and -27 are unused and never reused. Functions take a
 * type as a plain int, so that any number (also an unknown one) can be passed. */
typedef enum QVDataType {
    eNoData = -1,
    eUndef = -2,
    eBool = -3,
    eInt = -4,
    eDouble = -5,
    eFloat = -6,
    eString = -7,
    eChar = -8,
    eIntPoint2d = -9,
    eFloatPoint2d = -10,
    eIntPoint3d = -11,
    eFloatPoint3d = -12,
    eQVProperty = -13,
    eQVBinaryData = -14,
    eRefToNode = -15,
    eQVPropertyList = -16,
    eOptionList = -17,
    eLocNode = -18,
    eShort = -19,
    eUserData = -20,
    eQVRect = -21,
    eOptionListMulti = -22,
    /* -23: no type */
    eHexInt = -24,
    eQVRectF = -25,
    eQVArray = -26,
    /* -27: no type */
    eDoublePoint2d = -28,
    eDoublePoint3d = -29
} QVDataType;

/* Capacity of one eString element, terminator included: longer texts are cut to 511 chars. */
#define QV_STRING_ELEMENT_SIZE QV_STRING_SIZE
/* Room GetDataTypeStr needs: the longest type name has 12 characters. */
#define QV_TYPE_NAME_SIZE 13

/* ---- points and rectangles: plain records, fields in this order ---- */
typedef struct QVPoint2i { int x, y; } QVPoint2i;
typedef struct QVPoint2f { float x, y; } QVPoint2f;
typedef struct QVPoint2d { double x, y; } QVPoint2d;
typedef struct QVPoint3i { int x, y, z; } QVPoint3i;
typedef struct QVPoint3f { float x, y, z; } QVPoint3f;
typedef struct QVPoint3d { double x, y, z; } QVPoint3d;
/* Rectangles: four values in the order the constructors take and the text forms print them. */
typedef struct QVRect { int x, y, width, height; } QVRect;
typedef struct QVRectF { float x, y, width, height; } QVRectF;

/* ---- binary data ---- */

/* A block of raw bytes with its size and the file name (no directory) it is kept in. */
typedef struct QVBinaryData {
    void* data;                 /* the bytes; may be null */
    int size;                   /* number of bytes at data */
    char name[QV_STRING_SIZE];  /* file name of the block */
    int ownsData;               /* 1: the record frees data when released with releaseRaw */
} QVBinaryData;

/* ---- generic array ---- */

/* A typed contiguous array. Created zeroed by CreateArray, released by ReleaseArray(Ex).
 * Inline arrays hold the values in their slots; pointer arrays hold one pointer per slot to an
 * element that lies elsewhere and that the array frees only when asked to. */
typedef struct QVArray {
    void* values;      /* capacity slots of elementSize bytes; null while capacity is 0 */
    int capacity;      /* slots allocated */
    int dataType;      /* QVDataType of the elements */
    int count;         /* slots in use: 0 .. count-1 */
    int elementSize;   /* bytes per slot */
    int inlineValues;  /* 1: values in the slots; 0: each slot holds a pointer */
} QVArray;

/* Deletes one pointed-to element of a pointer array; the result is ignored. */
typedef int (*QVArrayDeleteFct)(void* element, int dataType);
/* Compares an element (as GetValue gives it) with a key: 0 means "matches". */
typedef int (*QVArrayCompareFct)(const void* element, const void* key);

QV_EXTERN_C_BEGIN

/* ---- data types ---- */

/* Writes the name of `dataType` ("int", "point_2f", ...) into `buffer` (QV_TYPE_NAME_SIZE bytes
 * or more). Unknown numbers give "unknown_dt". Returns 0; a null buffer logs -2 "output
 * argument is NULL" and returns -2. */
QV_API int GetDataTypeStr(int dataType, char* buffer);

/* The type number for a type name. Substrings are tested in a fixed order and the first hit
 * wins, so every name containing "int" (also "hex_int" and all point names) reads as eInt and
 * "qv_rectf" as eQVRect; unrecognised names, and a null text, give eUndef. */
QV_API int ParseDataType(const char* text);

/* Bytes of one element of `dataType` (eString: 512, the capacity of a string element). Types
 * without a size log -5 "cannot achieve size of spezified datatype" (-13..-16, -18, -20) or
 * "cannot achieve size of unknown datatype" (all others, also eQVRectF, eQVArray and the double
 * points) and return -5. */
QV_API int GetTypeSize(int dataType);

/* Writes the text form of the value at `data`, read as `dataType`, into `text`. `precision` is
 * the number of decimals of eFloat and eDouble. Points print "%d;%d" or "%6f;%6f" (width 6),
 * rectangles "%d;%d;%d;%d" / "%.6f;%.6f;%.6f;%.6f", eHexInt "%#X", chars and shorts their signed
 * number, eString its text (at most 511 chars), eNoData "", eQVPropertyList "PropertyList",
 * eQVBinaryData the record's name when its size is positive, eQVArray its element type with
 * "%d\n" followed by QVWriteArrayData(array, ..., 10, ';'), eRefToNode the reference's path
 * text (available once the property tree has installed its formatter). `text` needs 512 bytes;
 * an array needs 13 + QVWriteArrayData(array, NULL, 0, 10, ';') bytes.
 * Returns 0. Null data or text logs at level 2 -5 "input data or output string is NULL" and
 * returns -5; a type without text form writes "unknown_data", logs a level-5 notice "cannot
 * parse unknown data type to string: %d" (last error unchanged) and returns -5. */
QV_API int DataToString(const void* data, int dataType, unsigned precision, char* text);

/* Record constructors: the record filled with the arguments in order. */
QV_API QVRect QV_CreateRect(int x1, int x2, int x3, int x4);
QV_API QVRectF QV_CreateRectF(float x1, float x2, float x3, float x4);
QV_API QVPoint2d QV_CreatePoint2d(double x, double y);
QV_API QVPoint2f QV_CreatePoint2f(float x, float y);
QV_API QVPoint2i QV_CreatePoint2i(int x, int y);
QV_API QVPoint3i QV_CreatePoint3i(int x, int y, int z);
QV_API QVPoint3f QV_CreatePoint3f(float x, float y, float z);
QV_API QVPoint3d QV_CreatePoint3d(double x, double y, double z);

/* ---- binary data ---- */

/* A new record holding the caller's pointer (not copied), the size and a copy of the name (null:
 * empty; cut to 511 chars); ownsData 0. Null when the record cannot be allocated (-3). */
QV_API QVBinaryData* CreateBinaryData(void* data, int size, const char* name);

/* Frees the record; with releaseRaw nonzero also its bytes when it owns them. Bytes it does not
 * own are left alone with a level-5 notice. Returns 0, or -2 for a null record. */
QV_API int ReleaseBinaryData(QVBinaryData* binaryData, int releaseRaw);

/* Writes the record's bytes to the file directory+name, joined directly (the directory ends in
 * its own separator); an existing file is replaced. Returns the number of bytes written, -2 for
 * a null record or data, -4 when the file cannot be opened or not every byte was written. */
QV_API int WriteBinaryData(const QVBinaryData* binaryData, const char* directory);

/* Reads the whole file directory/name (the directory alone when the name is empty or null) into
 * a new record that owns its bytes. Null (-4 logged) when the file cannot be opened, is empty
 * or nothing can be read. */
QV_API QVBinaryData* ReadBinaryData(const char* directory, const char* name);

/* Reads the file directory+name (joined directly) into the record: into its buffer when it has
 * one (a larger buffer is zeroed first, a smaller one refuses with -5), else into a new buffer of
 * the file's size that the record then owns. Returns the buffer, or null on failure. Never
 * writes past the record's buffer. */
QV_API void* ReadBinary(QVBinaryData* binaryData, const char* directory);

/* ---- generic array ---- */

/* A new empty array of `dataType`. typeSize 0 takes the type's slot size, any other value must
 * equal it (else -5). Slots: 16 bytes for rectangles, 12 for 3-D int/float points, 8 for 2-D
 * int/float points and doubles, 4 for int-like types and floats, 2 for shorts, 1 for chars,
 * 512 for strings (all inline); every other type (also the double points) stores 8-byte
 * pointers. With initialCapacity 0 no storage is allocated. Null on failure. */
QV_API QVArray* CreateArray(int dataType, int typeSize, int initialCapacity);

/* Empties the array (count 0, every slot zeroed, capacity kept). With freeElements nonzero a
 * pointer array first frees its elements with free(). A null array returns 0 silently. */
QV_API int ClearArray(QVArray* array, int freeElements);

/* As ClearArray, but a pointer array calls deleteFunction(element, dataType) for each element
 * in index order. Null array or null function: -2, nothing cleared. */
QV_API int ClearArrayEx(QVArray* array, QVArrayDeleteFct deleteFunction);

/* ClearArray, then frees the storage and the record; returns ClearArray's result. A null array
 * logs a level-4 notice "array is NULL" and returns -2. */
QV_API int ReleaseArray(QVArray* array, int freeElements);

/* ClearArrayEx, then frees the storage and the record, also when deleteFunction is null (the
 * elements are then not deleted, -2 is logged twice and returned). */
QV_API int ReleaseArrayEx(QVArray* array, QVArrayDeleteFct deleteFunction);

/* Appends one element: the value at `value` for inline arrays (a null value appends a zeroed
 * slot; strings are cut to 511 chars), the pointer itself for pointer arrays. Grows an empty
 * array to 8 slots, then doubles. -2 for a null array, -3 when the array cannot grow. */
QV_API int AppendValue(QVArray* array, const void* value);

/* Appends a 32-bit integer to an inline eInt array; anything else is -5. */
QV_API int AppendIntValue(QVArray* array, int value);

/* Appends every element of `source` in order (pointers are shared). Arrays of different types
 * or element sizes: -5. */
QV_API int AppendArray(QVArray* destination, const QVArray* source);

/* Makes `destination` a byte copy of the source's slots (pointers are shared): resized to the
 * source's capacity, count taken over. A destination of type eNoData, or with an element size
 * below 1, takes the source's; its inlineValues flag is kept as it was. */
QV_API int CopyArray(QVArray* destination, const QVArray* source);

/* Sets the capacity (count unchanged, also when it exceeds the new capacity); new slots are
 * zeroed. A failed reallocation logs -3 at level 0 and returns 0 with the old storage; a shrink
 * then still takes effect, a growth does not (the array never claims slots it does not have). */
QV_API int ResizeArray(QVArray* array, int newCapacity);

/* The element at `index`: a pointer to the slot (inline arrays) or the stored pointer. Indexes
 * above count-1 log -2 "val index is out of range" and give null. Negative indexes are not
 * rejected by that check; as every slot outside the storage, they give null without a log. */
QV_API void* GetValue(const QVArray* array, int index);

/* Sets the element at `index`: copies exactly elementSize bytes from `value` (so a string value
 * must be a full 512-byte element) or zeroes the slot for a null value; pointer arrays store
 * `value` itself. Index rules as GetValue (a slot outside the storage returns -2 silently). */
QV_API int SetValue(QVArray* array, int index, const void* value);

/* 1 if some element, read as a 32-bit integer through the pointer GetValue gives, equals
 * `value`; else 0 (null elements are skipped). Null array: -2 logged, 0. */
QV_API int ArrayContainsInt(const QVArray* array, int value);

/* 0 if the two pointers are equal, else -1: the default comparison of QVArray_FindValue. */
QV_API int QV_ComparePointerFct(const void* a, const void* b);

/* The first element (as GetValue gives it) for which compare(element, key) is 0 (a null compare
 * compares pointers); its index goes to indexOut when not null. No match: null and index -1. */
QV_API void* QVArray_FindValue(const QVArray* array, QVArrayCompareFct compare, const void* key,
                               int* indexOut);

/* ---- array text ---- */

/* Writes the elements of `array` as text: lineWidth elements per line (all on one line when
 * lineWidth < 1), separated by `separator`, each line ending in '\n'. Numbers in decimal (floats
 * with enough digits to read back exactly, hex ints "%#X"), point and rectangle components
 * separated by one blank, strings in double quotes with C escapes; double points (a pointer
 * array) as their components, a null element as "null". With text null only the length is
 * computed. Returns the number of characters (without the terminator), or -2 for a null array,
 * -5 for an element type without text form, an invalid separator (letters, digits, blanks,
 * quotes, backslash, '+', '-', '.'), or a buffer of textSize bytes that is too small. */
QV_API int QVWriteArrayData(const QVArray* array, char* text, int textSize, int lineWidth,
                            char separator);

/* Reads elements as QVWriteArrayData writes them and appends them to `array` (whose type says
 * how to read them; double points are allocated with malloc and belong to the caller, e.g.
 * ReleaseArray(array, 1)). Returns the number of elements appended; on a malformed text -5 and
 * the array is left as it was; -2 for a null array or text. */
QV_API int QVReadArrayData(QVArray* array, const char* text, char separator);

/* Writes the array to a text file: its element type with "%d\n", then QVWriteArrayData with 10
 * elements per line and ';' (the text DataToString gives). Returns 0, -2, -4 or -5. */
QV_API int QVWriteArrayFile(const QVArray* array, const char* filePath);

/* Reads a file written by QVWriteArrayFile into a new array; null on failure (-4 unreadable,
 * -5 malformed). */
QV_API QVArray* QVReadArrayFile(const char* filePath);

QV_EXTERN_C_END

#endif
