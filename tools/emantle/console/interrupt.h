#pragma once

namespace tool {

/* From now on an interrupt, a termination and a hang-up only leave a mark, so that what was begun can be taken back; a file
 * that may not grow further is a write that fails. */
void catchInterrupts();

/* Throws Interrupted once the mark is there. */
void throwIfInterrupted();

}  // namespace tool
