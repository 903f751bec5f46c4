#include "store/mif/scratch.h"

#include "frame/memory/heap_ptr.h"

namespace emantle::mif {

uint8_t* scratch()
{
    thread_local HeapPtr<uint8_t> buffer;
    if (buffer == nullptr) {
        buffer = allocate<uint8_t>(kScratchSize, " Not enough memory: allocation failure");
    }
    return buffer.get();
}

}  // namespace emantle::mif
