// Faults: makes services of the operating system fail, chosen by their number from now on.
#ifndef ZELSPI_TESTS_SUPPORT_FAULTS_H
#define ZELSPI_TESTS_SUPPORT_FAULTS_H

#include "platform/fault_point.h"

// Fault: while it lives, the service fails when it is asked for the number-th time (1 is the next time), once.
class Fault {
public:
    Fault(PlatformService service, unsigned number);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // Whether it has happened.
    bool hasStruck() const;

private:
    PlatformService service_;
};

#endif
