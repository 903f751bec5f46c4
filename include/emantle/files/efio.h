#ifndef EMANTLE_FILES_EFIO_H
#define EMANTLE_FILES_EFIO_H

/* efio: files. Each header below holds one noun of the family.
 *  1. A name goes through estr_PathExpand on its way to the system: `$NAME` is replaced, `\` counts as `/`.
 *  2. Offsets and sizes are bytes, 64-bit inside; `long` holds them whole.
 *  3. Error numbers are those of estr_ErrnoString, in texts and in errno.
 *  4. A file record belongs to one thread at a time; nothing locks it. */

#include <emantle/files/efio/directory.h>
#include <emantle/files/efio/handle.h>
#include <emantle/files/efio/host.h>
#include <emantle/files/efio/mapping.h>
#include <emantle/files/efio/paths.h>
#include <emantle/files/efio/scan.h>
#include <emantle/files/efio/search_list.h>
#include <emantle/files/efio/select.h>
#include <emantle/files/efio/space.h>
#include <emantle/files/efio/status.h>
#include <emantle/files/efio/stream.h>
#include <emantle/files/efio/temporary.h>
#include <emantle/files/efio/text.h>

#endif
