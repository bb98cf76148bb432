#include "platform/internal/fault_point.h"

bool platformServiceFails(PlatformService) {
    return false;
}
