#ifndef TEST_SUPPORT_ALLOCATIONCOUNTER_H
#define TEST_SUPPORT_ALLOCATIONCOUNTER_H

// How often the calling thread has used operator new so far, in the program and in every shared
// library of the process.
long CountAllocations();

#endif
