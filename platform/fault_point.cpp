#include "platform/fault_point.h"

bool platformServiceFails(PlatformService) {
    return false;
}
