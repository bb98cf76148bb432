// Where a test can make a service of the operating system fail. The definition stands in a source file of its own,
// which goes into the library only: the tests link one that fails on demand.
#ifndef ZELSPI_PLATFORM_INTERNAL_FAULT_POINT_H
#define ZELSPI_PLATFORM_INTERNAL_FAULT_POINT_H

enum class PlatformService { mutexCreate, mutexWait, mutexRelease, threadStart, calendarTime, randomBytes };

// platformServiceFails: whether the service is to fail this time; in the library never.
bool platformServiceFails(PlatformService service);

#endif
