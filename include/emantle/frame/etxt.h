#ifndef EMANTLE_FRAME_ETXT_H
#define EMANTLE_FRAME_ETXT_H

#include <emantle/frame/etxt/convert.h>
#include <emantle/frame/etxt/text.h>
#ifdef __cplusplus
#include <emantle/frame/etxt/holders.h>
#endif
#endif
