/* QV_Tools tree family: the property tree: nodes, children, node data, properties, paths, search, persistence, references, localization.
 *
 * A QVTreeNode has a name, a numeric id, one typed value (data and dataType), an optional
 * property-list node and an ordered set of children. Nodes are created by the Create* functions
 * and released, with their subtree, by ReleaseTreeNode or ReleaseTreeNodeEx; a node detached
 * from its parent belongs to the caller. Node data belongs to the caller unless the node stored
 * it itself (dataFlags & 48, see eAllocNewPtr and eReallocData). Functions return 0 or a
 * negative error code (logging.h) unless another result is named, and log every failure. */
#ifndef QVTOOLS_TREE_H
#define QVTOOLS_TREE_H

#include "qvtools/data.h"
#include "qvtools/export.h"

/* ---- the node record ---------------------------------------------------------------------- */

/* One node of a property tree. Fields in this order; allocated zeroed by the create functions. */
typedef struct QVTreeNode {
    int id;                            /* numeric id given by the creator; need not be unique */
    char name[QV_NAME_SIZE];           /* displayed name; localization may replace it */
    char baseName[QV_NAME_SIZE];       /* the name as given; never localized; used by paths */
    char* localizedText;               /* 512-byte text set by localization, or null */
    char* dataHint;                    /* 512-byte text (InitNodeDataHint), or null */
    unsigned access;                   /* access flags, 6 at creation; bit value 1: read-only */
    struct QVTreeNode* parent;         /* null for a root and for a detached node */
    struct QVTreeNode** children;      /* childArraySize slots, a plain pointer array */
    struct QVTreeNode* nextSibling;    /* node in the next slot, when it was occupied */
    struct QVTreeNode* prevSibling;    /* node in the previous slot, when it was occupied */
    struct QVTreeNode* properties;     /* the property-list node ("Properties", id -16), or null */
    int numChildren;                   /* number of occupied child slots */
    void* data;                        /* the node's value */
    int dataType;                      /* QVDataType of data (1 and above: caller-defined) */
    unsigned short level;              /* depth below the root it was last attached to */
    int childArraySize;                /* number of child slots allocated */
    int refCount;                      /* number of parents holding the node; 0 at creation */
    int indexInParent;                 /* slot index in the parent */
    int childOrderMode;                /* QVChildOrderMode */
    long long reserved;                /* zero; unused */
    void* userData;                    /* caller's pointer, handed to the delete function */
    unsigned dataFlags;                /* last data-set mode with a bit of 54; 1 at creation */
} QVTreeNode;

/* How children are placed. 0 to 2 are reserved sorted orders without behaviour: inserting into
 * such a parent fails with -9 (1 also tells FindChildByID to search the ids binarily). */
typedef enum QVChildOrderMode {
    eSortedOrder0 = 0,
    eSortedById = 1,
    eSortedOrder2 = 2,
    eShift = 3,       /* packed slots; inserting shifts later children up, removing shifts down */
    eInsertFree = 4,  /* InsertChild fills the first free slot; removing leaves a hole */
    eFixedIndex = 5   /* a child keeps the index it was inserted at; the array grows to reach it */
} QVChildOrderMode;

/* What SetData/SetNodeData do with a data pointer; one value, not a combination. */
typedef enum QVDataSetMode {
    eClearPtr = 0,        /* set to null */
    eReplacePtr = 1,      /* take the caller's pointer; owned old data is released first */
    eSwapPtr = 2,         /* take the caller's pointer if it differs */
    eSetPtr = 4,          /* take the caller's pointer */
    eOverwriteData = 8,   /* copy the value into the existing storage */
    eAllocNewPtr = 16,    /* allocate storage (owned by the node) and copy the value into it */
    eReallocData = 32,    /* release the existing storage, then as eAllocNewPtr */
    eKeepData = 64        /* nothing */
} QVDataSetMode;

/* dataFlags bits under which the node owns its data. */
#define QV_DATA_OWNED_MASK 48

/* Search flags: one bit word shared by the searches and the bulk data operations. */
typedef enum QVSearchFlags {
    eSearchFromRoot = 0x01,      /* climb to the root of the start node first */
    eSearchInPath = 0x02,        /* path lookups: find the start node in the path, go on after it */
    eSearchBreadthFirst = 0x04,  /* not implemented */
    eSearchChildren = 0x10,      /* look at children */
    eSearchProperties = 0x20,    /* look in property lists */
    eSearchParents = 0x40,       /* search upward through the parents (FindNodeByID) */
    eSearchSubtree = 0x80,       /* the whole subtree, depth-first */
    eSearchFollowRefs = 0x400    /* an eRefToNode node stands for the node its data points to */
} QVSearchFlags;

/* Maximum number of levels of the array path forms (GetPathFromNode, GetNamePathFromNode). */
#define QV_MAX_PATH_DEPTH 32

/* The caller's routine that frees node data on release: data pointer, its type, the node's id. */
typedef int (*QVDeleteDataFct)(void* data, int dataType, int id);

QV_EXTERN_C_BEGIN

/* ---- creation and release --------------------------------------------------------------- */

/* Creates a node holding `data` (not copied) of `dataType`, named `name` (null: "node") with
 * `id` and child order mode `childOrderMode`. propertyCapacity > 0 gives it a property-list node
 * at once; childCapacity slots are allocated. Names of 128 characters or more are cut to 127
 * (logged at level 0, -5 "Node name too long"). Returns the node, or null when it cannot be
 * allocated. */
QV_API QVTreeNode* CreateTreeNodeN(int dataType, void* data, const char* name, int id,
                                   int childOrderMode, int propertyCapacity, int childCapacity);
/* CreateTreeNodeN with property and child capacities 8. */
QV_API QVTreeNode* CreateTreeNode(int dataType, void* data, const char* name, int id,
                                  int childOrderMode);
/* A node without data (eNoData), mode eShift, capacities 8 and 8. */
QV_API QVTreeNode* CreateEmptyTreeNode(const char* name, int id);
/* A node without data with the given mode and capacities. */
QV_API QVTreeNode* CreateEmptyTreeNodeN(const char* name, int id, int childOrderMode,
                                        int propertyCapacity, int childCapacity);
/* (Re)allocates the node's 512-byte dataHint, zeroed. A null node returns -2 without a log. */
QV_API int InitNodeDataHint(QVTreeNode* node);

/* Releases the node and its subtree. Children go first (last slot first); then the node's
 * refCount drops, and a node still held elsewhere (refCount >= 1 afterwards) is kept: logged at
 * level 2, -5 "cannot delete node %s, refCount > 0", returns -5. Otherwise the property list is
 * released, node data and userData are handed to deleteFunction (null: data is not freed), the
 * node is removed from its parent and freed. Returns 0; -2 for a null node. */
QV_API int ReleaseTreeNodeEx(QVTreeNode* node, QVDeleteDataFct deleteFunction);
/* ReleaseTreeNodeEx with ReleaseData (releaseData nonzero) or with no delete function. */
QV_API int ReleaseTreeNode(QVTreeNode* node, int releaseData);
/* Releases every child of the node (all slots), empties the slots and sets numChildren to 0.
 * Returns the bitwise OR of the release results; -2 for a null node. */
QV_API int ReleaseChildNodes(QVTreeNode* node, QVDeleteDataFct deleteFunction);

/* Sets both name and baseName. -2 "node or new name is NULL". */
QV_API int SetNodeName(QVTreeNode* node, const char* name);

/* ---- children ---------------------------------------------------------------------------- */

/* Puts `child` into slot numChildren of `parent` (growing the slots: to 8, then doubling),
 * moving it from another parent first. -2 for null arguments, -5 when it already is a child. */
QV_API int AppendChild(QVTreeNode* parent, QVTreeNode* child);
/* Places `child` by the parent's order mode: eShift appends, eInsertFree fills the first free
 * slot, eFixedIndex fails (-5, an index is needed), modes 0-2 fail with -9. A child of another
 * parent is moved (logged at level 2). */
QV_API int InsertChild(QVTreeNode* parent, QVTreeNode* child);
/* Places `child` at slot `index`: eShift and eInsertFree shift later children up (an index past
 * the last child appends); eFixedIndex grows the slots to reach the index and fails (-5) on an
 * occupied slot; modes 0-2 fail with -9. */
QV_API int InsertChildAt(QVTreeNode* parent, QVTreeNode* child, int index);
/* Detaches the child in slot `index` and returns it (the caller owns it), or null. eShift
 * shifts the later children down; eInsertFree and eFixedIndex leave a hole. */
QV_API QVTreeNode* RemoveChildAt(QVTreeNode* parent, int index);
/* Detaches `child` from `parent` and returns it, or null when it is not a child there. */
QV_API QVTreeNode* RemoveChild(QVTreeNode* parent, QVTreeNode* child);
/* Sets the value of the child with `id` (looked for among the parent's children, then among the
 * grandparent's, from where it is moved here); creates and appends a new child when none
 * exists. The old value is not released. Returns that child; null for a null parent. */
QV_API QVTreeNode* SetChildNode(QVTreeNode* parent, int id, const char* name, void* data,
                                int dataType);

/* The greatest id among slots 0..numChildren-1; -1 when there are none; -2 for a null parent. */
QV_API int GetHighestChildId(QVTreeNode* parent);
/* The top of the node's parent chain; null for null. */
QV_API QVTreeNode* GetRoot(QVTreeNode* node);
/* Number of ancestors (0 for a root); -2 for a null node. */
QV_API int GetNodeDepth(QVTreeNode* node);
/* The node's slot among its parent's slots 0..numChildren-1; -5 (no log) when not found; -2
 * for a null node or a node without parent. */
QV_API int GetChildIndex(QVTreeNode* node);
/* The first slot among 0..numChildren-1 whose child has `id`; -1 (logged at level 2) if none;
 * -2 for a null parent. */
QV_API int GetChildIndexByID(QVTreeNode* parent, int id);
/* Sets `level` on the node and level+1, recursively, on its children (slots 0..numChildren-1)
 * and its property-list node. -2 for a null node. */
QV_API int setNodeLevel(QVTreeNode* node, int level);
/* From the node itself upward: the first node whose level equals `level`; null as soon as a
 * level below it is met or the top is passed. */
QV_API QVTreeNode* findParentOfLevel(QVTreeNode* node, int level);

/* ---- node data ---------------------------------------------------------------------------- */

/* Applies a data-set mode to a caller's data pointer `*slot` (no ownership check: eReallocData
 * releases whatever *slot holds). Returns 0 or a negative code (an eChar value copied by
 * eAllocNewPtr returns -1, kept so on purpose). */
QV_API int SetData(void** slot, const void* value, int dataType, int mode);
/* Sets a node's value under a data-set mode (see QVDataSetMode). The node's type must be
 * dataType, eNoData or eUndef (else -5). Data the node owns is released before its pointer is
 * dropped; data it does not own is never freed. Returns 0, -2 or -5. */
QV_API int SetNodeData(QVTreeNode* node, const void* value, int dataType, int mode);
/* SetNodeData with the node's own type and eOverwriteData. */
QV_API int OverwriteNodeData(QVTreeNode* node, const void* value);
/* The library's release routine for values it allocated: arrays (with their elements), scalar
 * values, strings, rectangles, binary records. Points and other types are not freed: level-5
 * notice "cannot delete data with data type %s", -5. `id` is not used. */
QV_API int ReleaseData(void* data, int dataType, int id);
/* Releases the node's value: owned data by ReleaseData, other data by deleteFunction (not when
 * it is ReleaseData; arrays element by element). Null deleteFunction only clears the pointer.
 * A nonzero result is returned and the pointer kept. -2 for a null node or null data. */
QV_API int ReleaseNodeData(QVTreeNode* node, QVDeleteDataFct deleteFunction);
/* Converts the node's value to `newType` through its text form. Returns 0, -5 when the value
 * cannot be converted (no log), -2 for a null node. */
QV_API int updateDataType(QVTreeNode* node, int newType);
/* Writes the text form of the node's value (DataToString; a reference gives the name path of
 * the node it refers to, separated by '|'). -2 without a log for a null node or null data. */
QV_API int NodeDataToString(const QVTreeNode* node, unsigned precision, char* text);

/* ---- properties --------------------------------------------------------------------------- */

/* Sets the property `id` of `node` to `value` under `mode` (creating it, and the property list,
 * when addIfNew is set), gives it `access` and base name `name` and marks it valid. Returns the
 * property node, or null. */
QV_API QVTreeNode* SetPropertyEx(QVTreeNode* node, int id, const char* name, const void* value,
                                 int dataType, int mode, unsigned access, int addIfNew);
/* SetPropertyEx with access 6 and addIfNew 1. */
QV_API QVTreeNode* SetProperty(QVTreeNode* node, int id, const char* name, const void* value,
                               int dataType, int mode);
/* Adds a new property (eReplacePtr). An existing id logs -5 and returns the existing property. */
QV_API QVTreeNode* AddProperty(QVTreeNode* node, int id, const char* name, const void* value,
                               int dataType, unsigned access);
/* Sets the access flags of the first node with `id` in the subtree or its property lists.
 * Returns 0, -5 when none is found; a null node logs -2 and returns 0. */
QV_API int SetPropertyAccess(QVTreeNode* node, int id, unsigned access);
/* The property node in slot `index` of the property list (may be null). */
QV_API QVTreeNode* GetPropertyAt(QVTreeNode* node, int index);
/* The data pointer of the property in slot `index`; its type goes to typeOut (may be null). */
QV_API void* GetPropertyValueAt(QVTreeNode* node, int index, int* typeOut);
/* Detaches the property in slot `index` and returns it; the caller releases it. */
QV_API QVTreeNode* RemovePropertyAt(QVTreeNode* node, int index);
/* Detaches the property with `id` and returns it (null when there is none). */
QV_API QVTreeNode* RemovePropertyByID(QVTreeNode* node, int id);
/* Detaches (does not release) every property that is not in the valid list. */
QV_API int RemoveInvalidProperties(QVTreeNode* node);

/* ---- bulk setting and copies -------------------------------------------------------------- */

/* Sets `value` into every node below `root` (searchFlags: 0x10 children, 0x20 property lists,
 * 0x400 follow references) with `id`, type `dataType` and `level` that is writable and holds
 * another pointer. Returns the number of nodes set; -2 for a null root. */
QV_API int SetNodeDataMulti(QVTreeNode* root, int id, const void* value, int dataType, int level,
                            int mode, unsigned searchFlags);
/* SetNodeDataMulti with id, value, type and level of `source`. */
QV_API int SetNodeDataMultiByID(QVTreeNode* root, QVTreeNode* source, int mode,
                                unsigned searchFlags);
/* SetNodeDataMultiByID for the source, its properties (0x20) and its subtree (0x10). */
QV_API int SetAllNodeDataMultiByID(QVTreeNode* root, QVTreeNode* source, int mode,
                                   unsigned searchFlags);
/* Copies the source's value into the destination (same type required) under `mode`; nodes with
 * the same id also take access and data hint. */
QV_API int CopyNodeData(QVTreeNode* source, QVTreeNode* destination, int mode);
/* CopyNodeData, then the property lists, then the children down to `depth` levels (-1: all),
 * paired by slot or by id. Returns the bitwise OR of the results. */
QV_API int CopyAllNodeData(QVTreeNode* source, QVTreeNode* destination, int depth, int mode,
                           int matchById);
/* A new copy of `source` and its subtree down to `depth` levels (-1: all), data copied under
 * `mode`. Its parent field is set to `parent` without attaching it there. Null for null. */
QV_API QVTreeNode* CopyTreeNode(QVTreeNode* source, QVTreeNode* parent, int depth, int mode);

/* ---- search --------------------------------------------------------------------------------- */

/* The child with `id`, or null (binary search when the parent's mode is eSortedById). */
QV_API QVTreeNode* FindChildByID(QVTreeNode* parent, int id);
/* The first child whose base name contains `name` (mode 0), equals it (1) or equals it ignoring
 * case (2); null otherwise. */
QV_API QVTreeNode* FindChildByName(QVTreeNode* parent, const char* name, int mode);
/* As FindChildByName with the displayed names. */
QV_API QVTreeNode* FindChildByExternName(QVTreeNode* parent, const char* name, int mode);
/* The first child of type `dataType`, or null. */
QV_API QVTreeNode* FindChildByType(QVTreeNode* parent, int dataType);
/* Searches by id under the search flags (0x01, 0x04, 0x10, 0x20, 0x40, 0x80). */
QV_API QVTreeNode* FindNodeByID(QVTreeNode* start, int id, unsigned flags);
/* The first property with `id` in the node's property list or, depth-first, a descendant's. */
QV_API QVTreeNode* FindPropertyByIDRecursive(QVTreeNode* node, int id);
/* From the node itself upward: the first node with `id` (or type `dataType`), or null. */
QV_API QVTreeNode* FindParentByID(QVTreeNode* node, int id);
QV_API QVTreeNode* FindParentByType(QVTreeNode* node, int dataType);
/* The node whose data pointer is `data` (property data pointers are never matched). */
QV_API QVTreeNode* FindNodeByDataPtr(QVTreeNode* start, const void* data, unsigned flags);
/* Appends every node of type `dataType` (flags 0x10, 0x20, 0x400) to the pointer array
 * `result`; returns the number appended. */
QV_API int FindMultipleNodesByType(QVTreeNode* start, int dataType, unsigned flags, int maxCount,
                                   QVArray* result);
/* The first node of type `dataType`, or null. */
QV_API QVTreeNode* FindNodeByType(QVTreeNode* start, int dataType, unsigned flags);
/* 1 if `child` is `parent` or lies within `depth` levels below it (0x20: also in property
 * lists); else 0. */
QV_API int IsNodeChildOf(QVTreeNode* parent, QVTreeNode* child, int depth, unsigned flags);
/* The property with `id` (by base name `name` under a FindChildByName mode); its type goes to
 * dataTypeOut when not null. Not found: null with a notice. */
QV_API QVTreeNode* FindPropertyByID(QVTreeNode* node, int id, int* dataTypeOut);
QV_API QVTreeNode* FindPropertyByName(QVTreeNode* node, const char* name, int mode,
                                      int* dataTypeOut);

/* ---- paths ---------------------------------------------------------------------------------- */

/* Fills namesOut (QV_MAX_PATH_DEPTH texts of QV_STRING_SIZE bytes, or null) with the base names
 * (GetNamePathFromNode: the displayed names) from the root down to the node, skipping
 * property-list levels; returns the number of names (0 or -5 on failure). */
QV_API int GetPathFromNode(QVTreeNode* node, char (*namesOut)[QV_STRING_SIZE]);
QV_API int GetNamePathFromNode(QVTreeNode* node, char (*namesOut)[QV_STRING_SIZE]);
/* Appends the base names from the root down to the node, joined by `separator`, to `textOut`
 * (may be null); returns the number of names. */
QV_API int GetPathStrFromNode(QVTreeNode* node, char separator, char* textOut);
/* Writes the ids from the root down to the node into idsOut and appends them joined by "|" to
 * textOut (either may be null); returns the number of ids. */
QV_API int GetIDPathFromNode(QVTreeNode* node, int* idsOut, char* textOut);
/* Follows `count` base names (GetNodeFromNodeNamePath: displayed names) from `start`; flags
 * 0x01 (path starts at the root), 0x02 (start node is inside the path), 0x20 (the last name may
 * be a property). Returns the node or null. */
QV_API QVTreeNode* GetNodeFromPath(QVTreeNode* start, const char (*names)[QV_STRING_SIZE],
                                   int count, unsigned flags);
QV_API QVTreeNode* GetNodeFromNodeNamePath(QVTreeNode* start,
                                           const char (*names)[QV_STRING_SIZE], int count,
                                           unsigned flags);
/* Follows `count` ids (children, else properties) from `start`; flags 0x01 and 0x02. */
QV_API QVTreeNode* GetNodeFromIDPath(QVTreeNode* start, const int* ids, int count,
                                     unsigned flags);

QV_EXTERN_C_END

/* ==== reference nodes, XML persistence and localization ===================================== */

QV_EXTERN_C_BEGIN

/* ---- reference nodes ------------------------------------------------------------------------ */

/* A reference node is a node of type eRefToNode (id -15) whose data is another node (the
 * referenced node, never owned or released through the reference). It carries the referenced
 * node's position as two eString properties: id 1 "NodeNamePath", the base names from the root
 * down to it joined by "|" (GetPathStrFromNode), and id 2 "NodeIDPath", the ids joined by "|"
 * (GetIDPathFromNode). The text form of a reference (DataToString, NodeDataToString, the "val"
 * element of the XML form) is the referenced node's name path, the same text as
 * "NodeNamePath"; it is informative only: reading it back gives no value, and a reference read
 * from a file is found again from its two properties with LoadRefNode. */

/* Makes a reference to `nodeToRef`: mode eShift, property capacity 3, no child slots. With a
 * null `name` it takes the referenced node's base name and displayed name. With `initialise` 1
 * the path properties are written at once (InitRefNode); if that fails the new node is
 * released and null returned. Null `nodeToRef`: -2 "nodeToRef is NULL", null. */
QV_API QVTreeNode* CreateRefNode(const char* name, QVTreeNode* nodeToRef, int initialise);
/* (Re)writes the properties "NodeNamePath" (1) and "NodeIDPath" (2) from the referenced node
 * (mode eAllocNewPtr, access 16). Child nodes of the reference are released first when it has
 * properties. An empty name path is logged (-5 "could not extract node names path from node %s")
 * and written all the same. Returns 0; -2 "ref node or ref node data is NULL". */
QV_API int InitRefNode(QVTreeNode* refNode);
/* Finds the referenced node below `root` again and stores it as the reference's data: first by
 * the id path (GetNodeFromIDPath with `searchMode`, then with eSearchInPath), then by the name
 * path (GetNodeFromPath with eSearchInPath). A reference that already has data is logged at
 * level 2 (-5) and looked up again. Returns 0; -2 for a null argument; -5 when a path property
 * is missing or not a string, the id path holds no id, or no node is found. */
QV_API int LoadRefNode(QVTreeNode* refNode, QVTreeNode* root, unsigned searchMode);

/* ---- XML persistence -------------------------------------------------------------------------- */

/* The XML form of a node: one element per node, named after the base name (trailing blanks
 * removed, blanks made "_", then made a valid name by CXMLManager::checkTranscode), with the
 * attributes "name" (the displayed name, only when it differs from the base name), "id",
 * "order" (child order mode), "childarray" (child slots, only when neither 0 nor 8) and "idx"
 * (slot in the parent); then the child elements "Properties" (the property-list node, as a node
 * element, when there are properties), "val" (when the type is not eNoData: attributes
 * "type_id", "access", "type", for binary data "binsize"; text: DataToString with 10 decimals)
 * and "children" (attribute "count"; the child elements in slot order). An element named
 * "EMPTY_NODE" (any case) reads as a null node. SaveTreeNode puts the tree under the root
 * element "XML_Root_Node". */
#define QV_WRITE_NULL_NODE 1

/* Appends the element of `node` with its subtree to the document of `handle`, below its root
 * element or below the first element named `parentName` (cleaned by checkTranscode) when that
 * is given. The writer trims trailing blanks from the node's names and replaces blanks in its
 * base name by "_", in place. Reference nodes are initialised first (InitRefNode; a failure is
 * logged at level 2 and writing goes on). Options QV_WRITE_NULL_NODE: a null node is written as
 * an element "NULL". Returns 0; -2 for a null node ("node to write to xml is NULL") or an
 * unknown handle; -8 when the root or parent element is missing; -4 when the XML library fails
 * (e.g. a name that cannot be an element name, such as one starting with a digit; the elements
 * written so far stay in the document). */
QV_API int WriteTreeNodeToXML(int handle, QVTreeNode* node, const char* parentName, int options);
/* Reads the tree of the first element named `elementName` (the root element included; null:
 * the first element below the root) of the document of `handle`. Missing attributes read as
 * id 0, idx 0, order 5 (eFixedIndex), childarray 0; a "val" without "type_id" gives eUndef and
 * no value, no "val" eNoData; values are parsed with ParseData and owned by the node
 * (dataFlags 16; binary records get "binsize" as size and no bytes: read them with ReadBinary).
 * A node gets the "childarray" slots, or, when its "children" element holds more node
 * elements, the next power of two (at least 8). Children are placed with InsertChildAt at their
 * "idx"; one that cannot be placed is logged and released. Limits against hostile files:
 * node elements nested more than 1000 levels below the one read fail the whole read (-5 "xml
 * tree is nested too deeply"); a "childarray" of 1048576 or more is not used (-5, logged), nor
 * is an "idx" that large in a fixed-index node beyond its slots (the child is released).
 * Returns the tree (the caller releases it with ReleaseTreeNode(tree, 1); as ReleaseData leaves
 * point values alone, the caller frees those of point type with free() first), or null: -2
 * "could not find document", -8 "xml node \"%s\" could not be found ". */
QV_API QVTreeNode* ReadTreeNodeFromXML(int handle, const char* elementName);
/* Writes the tree into a new document (WriteTreeNodeToXML with QV_WRITE_NULL_NODE) and saves it
 * to `path` (options: QV_XML_PRETTY_PRINT indents). Returns the result of the save: 0, or -4
 * when the file could not be written; -4 "could not create an XML document". Failures of the
 * write itself are logged by WriteTreeNodeToXML and do not change the result. The file, the
 * result and the log are those of that document path, but the tree is written straight as
 * text without building the document, which takes a fraction of its time and memory. */
QV_API int SaveTreeNode(QVTreeNode* node, const char* path, int options);
/* Loads the file `path` and reads the tree of `elementName` from it (ReadTreeNodeFromXML).
 * Returns the tree, or null: -2 "path is NULL"; -8 "could not load XML document from %s" (a
 * missing, empty, truncated or malformed file); -8 "could not read tree node from XML document
 * %s". A plain file (well-formed, without a document type) is read without building a DOM
 * document, in a fraction of the time and memory; the tree, the log and the handle used are
 * those of the document path, which every other file takes. */
QV_API QVTreeNode* LoadTreeNode(const char* path, const char* elementName);

/* ---- localization ------------------------------------------------------------------------------- */

/* A translation node (id -18, named after its language) holds one eString property per
 * translated node id: its name is the display name, its value the description (at most 511
 * characters) and its dataHint the text of possible data types. One translation node can be
 * installed process-wide (AddLocalizationNode); new nodes, and properties set by SetPropertyEx,
 * are localized against it. Localizing replaces a node's displayed `name` and fills its
 * `localizedText` and `dataHint`; base names are never touched. */

/* Reads a localization table: lines (up to 16384 characters; the rest of a longer line is
 * dropped; the line end, "\n" or "\r\n", is not part of the last field) split at any of
 * `separators`, empty fields kept. Fields are counted from 1. The header's first field that
 * contains `language` as a substring gives the language column (none: column 0, i.e. field 1).
 * Each row with at least as many fields as the header and a non-empty field 1 gives one
 * translation: id = atoi(field 1); display name = the field in the language column, else field
 * 3; description = the next field, else field 4; data types = the one after, else field 5 (one
 * character or less: none). Rows with too few fields are logged at level 2 (-5 "format error in
 * localization table in line %d, wrong field separator?", the number of rows used so far) and
 * skipped; over-long descriptions and data-type texts are logged and cut to 511 characters.
 * Returns a new translation node (not installed; the caller releases it unless it installs
 * it), or null when no row was used; -4 "could not open localization table file: %s"; -2 for
 * a null argument. */
QV_API QVTreeNode* CreateLocalizationNodeFromTable(const char* path, const char* language,
                                                   const char* separators);
/* Installs `translationNode` process-wide, or, when one is installed, moves its translations of
 * ids the installed one lacks into it (existing translations are never replaced; the given node
 * is not released and keeps the rest). The installed node lives until the library is unloaded.
 * Returns 0; -2 "locNode is NULL"; -5 when it is neither of type eLocNode nor of id -18. */
QV_API int AddLocalizationNode(QVTreeNode* translationNode);
/* The installed translation node, or null. */
QV_API QVTreeNode* GetLocalizationNode(void);
/* Localizes `node` against `translationNode` (null: the installed one): the translation with the
 * node's id, else the one whose base name equals the node's displayed name; a display name of
 * two or more characters becomes the node's name, a description of two or more characters its
 * localizedText, a data-type text its dataHint. Returns 0; -2 when there is no translation
 * (level-7 notices, last error unchanged), for a null node, or when no translation node is
 * given or installed (no log). */
QV_API int LocalizeNode(QVTreeNode* node, QVTreeNode* translationNode);
/* Localizes below `node`: flags 0x20 its properties (and the node itself when it is a property),
 * 0x10 its children (slots 0..numChildren-1), recursively. The node itself is not localized
 * otherwise. Returns 0; -2 "Node or localization node is NULL". */
QV_API int LocalizeNodes(QVTreeNode* node, QVTreeNode* translationNode, unsigned flags);
/* Copies the installed translation of `id`: display name into nameOut (128 bytes), description
 * into descriptionOut (512 bytes, only when not empty), data-type text into dataTypesOut (512
 * bytes, only when present); each may be null. Returns 0; -2 when none is installed, -5 when the
 * id has no translation or (with nameOut) an empty display name; both as level-7 notices. */
QV_API int GetLocalizedData(int id, char* nameOut, char* descriptionOut, char* dataTypesOut);
/* Copies `defaultText` (when not null, at most 511 characters) into `out`, then the localized
 * display name of `id` over it (GetLocalizedData). Returns GetLocalizedData's result; -2
 * "output arg is NULL". */
QV_API int GetLocalizedStr(int id, const char* defaultText, char* out);

QV_EXTERN_C_END

#endif
