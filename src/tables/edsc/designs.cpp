#include "tables/edsc/designs.h"

namespace emantle::tables {

constinit mif::OwnDictionary ownDictionary;

}  // namespace emantle::tables
