#ifndef EMANTLE_STORE_EHFA_FILE_H
#define EMANTLE_STORE_EHFA_FILE_H

#include <emantle/frame/eerr.h>
#include <emantle/files/efio/search_list.h>
#include <emantle/frame/eint.h>
#include <emantle/store/emif/dictionary.h>

/* ehfa, the file: handles, opening, closing, flushing, copying. The lines that hold for the family stand in ehfa.h. */

/* The longest name and type of an entry, without the NUL. */
enum { EHFA_NAME_MAX = 63, EHFA_TYPE_MAX = 31 };

/* One entry of the tree, in the form of the host; the file holds the same 128 bytes. */
typedef struct Ehfa_Entry {
    uint32_t next; /* siblings; 0 at the ends */
    uint32_t prev;
    uint32_t parent; /* 0 only in the root */
    uint32_t child;  /* the first one */
    uint32_t data;   /* the data block; 0 for none */
    int32_t dataSize;
    char name[EHFA_NAME_MAX + 1];
    char type[EHFA_TYPE_MAX + 1]; /* the design of the data block */
    double modTime;               /* seconds since the epoch */
} Ehfa_Entry;

/* The tag at position 0. */
typedef struct Ehfa_HeaderTag {
    char label[16];
    uint32_t headerPtr;
} Ehfa_HeaderTag;

/* The head of a free block. */
typedef struct Ehfa_FreeListNode {
    uint32_t freeList; /* the next free block, always behind this one; 0 ends the list */
    int32_t freeSize;  /* bytes of this block, these eight included */
} Ehfa_FreeListNode;

/* A size with a position, for callers that keep a data block by reference. */
typedef struct Ehfa_Data {
    int32_t size;
    uint32_t ptr;
} Ehfa_Data;

/* An open store. Callers read it; the first five fields are the file record as it stands at `headerPtr`. `dictionary`
 * may be added to with emif_DictionaryAddDesign: it is written at the next flush while its `changed` is set. */
typedef struct Ehfa_File {
    int32_t version;
    uint32_t freeList;
    uint32_t rootEntryPtr;
    int16_t entryHeaderLength;
    uint32_t dictionaryPtr;
    Efio_File* file;
    uint32_t entryPtr; /* position of the current entry */
    Ehfa_Entry* entry; /* the current entry: a copy held in this handle */
    int16_t pathDepth;
    Emif_Dictionary* dictionary;
    uint32_t headerPtr;
    void* reserved1[2];
    int32_t openFileIndex;
    int32_t refCount;
    void* reserved2;
    int16_t reserved3;
    Eint_InitToolkitData* context;
    char* name;
    Emsc_Boolean readOnly;
    Ehfa_Entry currentEntry;
    int32_t entryCache; /* ids of hash tables; 0 for none */
    int32_t pathHash;
    void* pathBuffer;
    const char* path; /* path of the current entry, as in ":Band:Layer_1:" */
    int32_t pathLength;
    int32_t dictionaryLength;
    uint32_t fileEnd; /* the next byte past the allocated file */
    void* map;
    uint32_t mapCursor;
    int32_t mapWanted;
    int32_t mapGrowth;
    int32_t entryCacheInUse;
    uint32_t flags;      /* bit 0: batch mode; bit 1: no flush on write */
    uint32_t batchStart; /* position at which batch mode began */
    int32_t option;
    int32_t fileSystemState; /* -2: not asked yet */
    int32_t activity;        /* 0 idle, 1 inside a call, 2 inside a call that changed the file, -1 stale */
    void* freeListCache;
    uintptr_t thread;
} Ehfa_File;

/* The bits of `flags`. */
enum { EHFA_FLAG_BATCH = 1, EHFA_FLAG_NO_FLUSH = 2 };

/* Words that follow `err` in ehfa_FileCreateWithOptions, ehfa_FileOpenWithOptions and ehfa_FileChange: each a code and
 * its arguments, ended by 0. Codes, flags, offsets and lengths are `int`. Another code is told as a warning,
 * "Illegal option %ld", and skipped. */
enum {
    EHFA_OPTION_MAP = 1,            /* flag, growth step: map the whole file, which then grows by whole pages, what is
                                       too much being free; without effect on a handle that writes to a remote file */
    EHFA_OPTION_FLUSH_ON_WRITE = 2, /* 1 writes what is held back, and from then on at once; else header and free list
                                       stay in memory */
    EHFA_OPTION_ENTRY_CACHING = 3,  /* 1 ends batch mode, else starts it */
    EHFA_OPTION_ENTRY_CACHE = 4,    /* 1 makes the entry cache, else drops it */
    EHFA_OPTION_RENAME = 5,         /* `const char*`: renames the file */
    EHFA_OPTION_MAP_WINDOW = 6,     /* offset, length, flag, growth step, wanted state */
    EHFA_OPTION_REPORT_ALIEN = 7,   /* open only: 0 keeps quiet about a file that is no store */
    EHFA_OPTION_WORD = 8            /* value; other than 0, positions are taken as given */
};

/* Makes the list of open files of `context`; every other call of the family does so when it has not been done. */
EMANTLE_API Emsc_Boolean ehfa_Init(Eint_InitToolkitData* context, Eerr_ErrorReport** err);

/* Makes an empty store, in place of any file of that name. The handle is the caller's; give it to ehfa_FileClose. A
 * name that this thread has open for writing gives that handle instead. */
EMANTLE_API Ehfa_File* ehfa_FileCreate(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err);
EMANTLE_API Ehfa_File* ehfa_FileCreateWithOptions(const char* name, Eint_InitToolkitData* context,
                                                  Eerr_ErrorReport** err, ...);

/* Threads that open one file hold a handle each. Those that write it take turns, a call each; what a handle has gathered
 * in no-flush or batch mode fails, and is dropped, when another one has written in between. A handle that only reads sees
 * what other threads write when it is marked stale.
 *
 * Opens a store: "r" or "rb" for reading, "r+b" and its like for writing; null takes what this thread has open already,
 * and else opens for reading. A read-only handle asked for again for writing becomes writable. Fails with
 * "File %s is not an EHFA file" for another file, or answers null without a report where that was asked for. */
EMANTLE_API Ehfa_File* ehfa_FileOpen(const char* name, const char* mode, Eint_InitToolkitData* context,
                                     Eerr_ErrorReport** err);
EMANTLE_API Ehfa_File* ehfa_FileOpenWithOptions(const char* name, const char* mode, Eint_InitToolkitData* context,
                                                Eerr_ErrorReport** err, ...);

/* ehfa_FileOpen of the first file of that name along a search list: fails with "Error returned from efio_Which" where the
 * search fails, and with "Error returned from ehfa_FileOpen" where the file does; null without a report when there is no
 * such file. */
EMANTLE_API Ehfa_File* ehfa_SearchListFileOpen(const char* name, const Efio_SearchList* searchList, const char* mode,
                                               Eint_InitToolkitData* context, Eerr_ErrorReport** err);

/* From now on new handles are refused with "Ehfa package is disabled", or allowed again. Those that are open stay. */
EMANTLE_API void ehfa_PackageDisable(Emsc_Boolean disabled);

/* Whether this thread holds a handle on `name`. */
EMANTLE_API Emsc_Boolean ehfa_FileIsOpen(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err);

/* The version (1) of a store whose dictionary has been written; 0 for anything else, also for a file that is absent. */
EMANTLE_API Emsc_Boolean ehfa_IsHFAFile(const char* name, Eerr_ErrorReport** err);

/* Gives up one reference; the last one flushes and closes. Accepts null. */
EMANTLE_API Emsc_Boolean ehfa_FileClose(Ehfa_File* file, Eerr_ErrorReport** err);

/* Writes all that is held back, and the dictionary where it changed. */
EMANTLE_API Emsc_Boolean ehfa_FileFlush(Ehfa_File* file, Eerr_ErrorReport** err);

/* The same, and returns when the system has put the bytes on the disk: what was written so far survives the end of the
 * machine too. Without it a store survives the end of its process at any moment. */
EMANTLE_API Emsc_Boolean ehfa_FileSync(Ehfa_File* file, Eerr_ErrorReport** err);

/* Writes the file record, unless it is held back: then it is written when header and free list are. */
EMANTLE_API Emsc_Boolean ehfa_HeaderReWrite(Ehfa_File* file, Eerr_ErrorReport** err);

/* Applies options to an open store. */
EMANTLE_API Emsc_Boolean ehfa_FileChange(Ehfa_File* file, Eerr_ErrorReport** err, ...);

/* Marks this thread's handles of `name` as stale: their next call reads the file anew. The two words are unused. */
EMANTLE_API Emsc_Boolean ehfa_FileReinitialize(const char* name, void* unused1, void* unused2, Eerr_ErrorReport** err);

/* Whether header and free list are held back in memory. */
EMANTLE_API Emsc_Boolean ehfa_FileIsNotFlushedOnWrite(const Ehfa_File* file);

typedef void (*Ehfa_FileChangedCallback)(Ehfa_File* file);

/* Installs this thread's callback, called after each call that changed a store; null removes it. With `everyHandle` 0
 * it is called for this thread's own handles only. It may read the handle. */
EMANTLE_API void ehfa_SetFileChangedCallback(Ehfa_FileChangedCallback callback, Emsc_Boolean everyHandle);

/* What copies an entry: makes a new entry in `target`, below the current one (`asChild`) or behind it, for the current
 * entry of `source`. It leaves the new entry current. */
typedef Emsc_Boolean (*Ehfa_EntryCopyFunction)(Ehfa_File* source, Ehfa_File* target, Emsc_Boolean asChild,
                                               Eerr_ErrorReport** err);
/* What copies the data of the current entry of `source` to the current entry of `target`. `meter` is for
 * ehfa_FileCopyProgressUpdate. */
typedef Emsc_Boolean (*Ehfa_DataCopyFunction)(Ehfa_File* source, Ehfa_File* target, void* meter,
                                              Eerr_ErrorReport** err);

/* How entries of a type, or of a name and type, are copied. A table ends with a row of empty type. A null function
 * copies nothing; a null `copyEntry` leaves the entry and all below it out, but for the root, which is there already. */
typedef struct Ehfa_CopyNodeType {
    char type[EHFA_TYPE_MAX + 1];
    Ehfa_EntryCopyFunction copyEntry;
    Ehfa_DataCopyFunction copyData;
    Emsc_Boolean keepModTime;
    Emsc_Boolean children;
} Ehfa_CopyNodeType;

typedef struct Ehfa_CopyNodeNameType {
    char name[EHFA_NAME_MAX + 1];
    Ehfa_CopyNodeType row;
} Ehfa_CopyNodeNameType;

/* Words that follow `err` in ehfa_FileCopy, ended by 0. Another code fails with "Illegal option %ld": what follows it is
 * unknown. */
enum {
    EHFA_COPY_TYPES = 1,      /* `const Ehfa_CopyNodeType*`, before the rows built in */
    EHFA_COPY_NAME_TYPES = 2, /* `const Ehfa_CopyNodeNameType*`, before those by type */
    EHFA_COPY_METER = 3,      /* `void*` */
    EHFA_COPY_PROGRESS = 4    /* two `int`: the meter's per cent at the start and at the end */
};

/* Rebuilds the store `source` as `destination`, without its fragments; the times go along. Replaces a file of that name,
 * which must not be open. Nothing is left behind when it fails. */
EMANTLE_API Emsc_Boolean ehfa_FileCopy(const char* source, const char* destination, Eint_InitToolkitData* context,
                                       Eerr_ErrorReport** err, ...);

/* The functions of the rows built in. The data are copied byte by byte, and the type's design goes along. */
EMANTLE_API Emsc_Boolean ehfa_CopyGenericEntry(Ehfa_File* source, Ehfa_File* target, Emsc_Boolean asChild,
                                               Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean ehfa_CopyGenericData(Ehfa_File* source, Ehfa_File* target, void* meter,
                                              Eerr_ErrorReport** err);

/* Tells a copy's meter that `percent` of the copy is done; nothing for a null meter. Answers 0 when the copy has been
 * cancelled. */
EMANTLE_API Emsc_Boolean ehfa_FileCopyProgressUpdate(void* meter, double percent, Eerr_ErrorReport** err);

#endif
