#ifndef EMANTLE_FILES_EFNP_NODE_PATH_H
#define EMANTLE_FILES_EFNP_NODE_PATH_H

#include <emantle/frame/eerr.h>

/* efnp, node paths; see efnp.h for what holds for the family. */

/* Parts of a node path, to be or-ed without a gap: ":a:b:c" at node -1 has the root ":", the path "a:b" and the node "c". */
enum { EFNP_NODE_ROOT = 64, EFNP_NODE_PATH = 128, EFNP_NODE = 256 };

/* The path up to the last ":", and the name behind it; heap texts, never null. */
typedef struct Efnp_NodeName {
    char* path;
    char* name;
} Efnp_NodeName;

/* The parts `options` of `path`, seen from node `node`: what stands in front of it is the path. So 192 is the parent, and
 * the parent of a node at the root is the root. */
EMANTLE_API char* efnp_NodePathGet(const char* path, long options, long node, Eerr_ErrorReport** err);

/* `path` with those parts, seen from node `node`, replaced by `data`. The index behind the last node appends one. */
EMANTLE_API char* efnp_NodePathSet(const char* path, const char* data, long options, long node,
                                   Eerr_ErrorReport** err);

/* The number of nodes; the root alone has none. -1 on failure. */
EMANTLE_API long efnp_NodePathLength(const char* path, Eerr_ErrorReport** err);

/* ":", constant. */
EMANTLE_API const char* efnp_NodePathRoot(void);

/* `path` joined to `base`, as efnp_PathJoin does. */
EMANTLE_API char* efnp_NodePathPath(const char* base, const char* path, Eerr_ErrorReport** err);

/* `a` and `b` with one ":" at the seam; where one of them is null, a copy of the other. */
EMANTLE_API char* efnp_PathJoin(const char* a, const char* b, Eerr_ErrorReport** err);

/* Splits at the last ":". ":" and a name has the path ":"; without ":" the path is empty; null gives two empty texts. */
EMANTLE_API Efnp_NodeName* efnp_NodeNameParse(const char* path, Eerr_ErrorReport** err);
EMANTLE_API void efnp_FreeNodeName(Efnp_NodeName* name);

#endif
