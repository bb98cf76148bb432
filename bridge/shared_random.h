// The one random context of the process, from which the engines draw and which they make by ZelObject::getRandomContext.
#ifndef ZELSPI_BRIDGE_SHARED_RANDOM_H
#define ZELSPI_BRIDGE_SHARED_RANDOM_H

#include "core/random/shared_random.h"

#endif
