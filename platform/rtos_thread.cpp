#include "platform/rtos_thread.h"

Status rtosInit() {
    return OK;
}

Status rtosShutdown() {
    return OK;
}
