// The native methods for short messages, which take all that they need as arguments: no engine is made or looked up. They
// are registered with the provider's internal classes.
#ifndef ZELSPI_BRIDGE_SHORT_CALLS_H
#define ZELSPI_BRIDGE_SHORT_CALLS_H

#include <jni.h>

// registerShortCalls: registers the methods of the classes ShortCalls and ZelMessageDigestSpi, where a program has these
// classes. Leaves no exception pending.
void registerShortCalls(JNIEnv* env);

#endif
