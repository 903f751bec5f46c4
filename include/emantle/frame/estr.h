#ifndef EMANTLE_FRAME_ESTR_H
#define EMANTLE_FRAME_ESTR_H

#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/compare.h>
#include <emantle/frame/estr/environment.h>
#include <emantle/frame/estr/expand.h>
#include <emantle/frame/estr/format.h>
#include <emantle/frame/estr/list.h>
#include <emantle/frame/estr/parse.h>
#include <emantle/frame/estr/path.h>
#include <emantle/frame/estr/wide.h>
#include <emantle/frame/estr/wild.h>

#endif
