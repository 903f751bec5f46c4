#ifndef EMANTLE_FILES_EFNP_H
#define EMANTLE_FILES_EFNP_H

/* efnp: names of files and of the nodes inside them, as text; no function touches a file. Names are in the internal form,
 * with `/` between directories. The functions hold no state.
 *
 *    <FileNodeList>          is <FileNodeListItem> { "," <FileNodeListItem> }
 *    <FileNodeListItem>      is <FileName> [ "(" <FileNodeListItemSpec> ")" ]
 *    <FileNodeListItemSpec>  is [ <FileTitle> ] [ <FullNodePath> { "," <FullNodePath> } ], and not empty
 *    <FullNodePath>          is a <NodePath> that starts with ":"
 *    <NodePath>              is nodes separated by ":"
 *    <FileName>              is drive, root, directories, base name and extension
 *
 *  1. In all of them `\` protects: the character behind it belongs to the name, whatever it is. The Get functions take
 *     protection out of what they give. The Set functions protect, in a part that they are given, what would end it: `\`
 *     everywhere, `:` in a node, `,` and `(` in a name of a list, `:` and `)` in a title.
 *  2. Texts come back as new heap texts, the caller's; null on failure, which is also the answer to a null argument where
 *     nothing else is said.
 *  3. Items, paths, nodes and directories count from 0; a negative index counts from the end, -1 being the last, and one
 *     that is out of range is clamped.
 *  4. Positions in reports count characters from 0. */

#include <emantle/files/efnp/file_name.h>
#include <emantle/files/efnp/node_list.h>
#include <emantle/files/efnp/node_path.h>

#endif
