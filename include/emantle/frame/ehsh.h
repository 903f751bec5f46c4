#ifndef EMANTLE_FRAME_EHSH_H
#define EMANTLE_FRAME_EHSH_H

#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/list.h>

/* ehsh: hash tables from keys to data of one size.
 *  1. A table is known by its id, from 1. Ids of deleted tables are given out again.
 *  2. Keys are texts, or `keySize` bytes where that option is set. Keys and data are copied in.
 *  3. The address of a data slot is valid until its key is removed, and a multiple of 8.
 *  4. Every call runs in the unsafe section, and so do the functions that it calls. Such a function may
 *     use the table, but not delete it.
 *  5. A failure gives 0 or null and the report. What is told as a status is printed, and the call goes on. An id that no
 *     table has is "Invalid table id %d", a null key "Invalid search key". */

/* The bucket, from 0 to `tableSize` - 1, of a key; `keySize` is 0 for a text. */
typedef long (*Ehsh_HashFunction)(const void* key, long keySize, long tableSize);

/* Called with each key of a table and its data (null where the table has none). A chain left in `err` ends the walk. */
typedef void (*Ehsh_KeyFunction)(int id, const void* key, void* data, Eerr_ErrorReport** err);

/* The tags of ehsh_TableCreate, each followed by its value. */
enum {
    EHSH_END = 0,
    EHSH_KEY_SIZE = 1,      /* int: bytes of a key; 0 for texts */
    EHSH_HASH_FUNCTION = 2, /* Ehsh_HashFunction */
    EHSH_FIFO = 3,          /* int: whether the order of last writes is kept, for ehsh_KeyUnHashFIFO */
    EHSH_GROW_AT = 4        /* double: keys a bucket above which the table doubles; 1.0 */
};

/* A table of at least `size` buckets (20 or less counts as 20), with `dataSize` bytes of data a key. With the default
 * hash function the size is the next power of two. Statuses: "Negative key size specified...using default", "Null hash
 * function specified...using default", "Unrecognized hash table option %d - ignored." Returns the id; 0 when memory is
 * out ("No memory"). */
EMANTLE_API int ehsh_TableCreate(long size, long dataSize, Eerr_ErrorReport** err, ...);
EMANTLE_API void ehsh_TableDelete(int id, Eerr_ErrorReport** err);

/* Finds or adds a key and returns the address of its data slot; in a table without data an address that says success
 * and holds nothing of the caller's. Data that is not null is copied in; a new slot without it is zero. With
 * EHSH_FIFO the key becomes the newest. A table without data ignores it with the status "Data supplied for hashing to
 * table with 0 dataSize...ignored". Fails with "Couldn't increase table size", "No memory", and "Can't find bucket" when
 * the table's hash function answers with no bucket; the table is then as it was. */
EMANTLE_API void* ehsh_KeyHash(int id, const void* key, const void* data, Eerr_ErrorReport** err);

/* Removes a key and returns the address of its data, which is valid until the next removal from the table; null in a
 * table without data. A key that the table does not have is "Can't find data in hash table". */
EMANTLE_API void* ehsh_KeyUnHash(int id, const void* key, Eerr_ErrorReport** err);

/* Removes the key that was written longest ago, and returns its data as ehsh_KeyUnHash does. A table without data has
 * the status "Data requested from hash table with dataSize 0...ignored". Fails with "Invalid hash table for FIFO
 * deletes", and on an empty table with "Key at hash head is invalid". */
EMANTLE_API void* ehsh_KeyUnHashFIFO(int id, Eerr_ErrorReport** err);

/* Null; there is no removal in this order. */
EMANTLE_API void* ehsh_KeyUnHashLIFO(void);

/* The keys as a new list, the caller's, in the order of their slots: that of insertion, but a key takes the slot that
 * was freed last. A key of bytes ends at its first zero. */
EMANTLE_API Estr_StringList* ehsh_KeyList(int id, Eerr_ErrorReport** err);
EMANTLE_API long ehsh_KeyCount(int id, Eerr_ErrorReport** err);

/* Calls `function` for each key, in the order of ehsh_KeyList. Keys added meanwhile may be met or not; removed ones are
 * not. A failure of the function is "KeysApplyFunction failed" in front of its chain. */
EMANTLE_API void ehsh_KeysApplyFunction(int id, Ehsh_KeyFunction function, Eerr_ErrorReport** err);

#endif
