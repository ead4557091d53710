// Between the test and its host of the MSVC ABI. Plain C, so that both compilers agree on it.
#pragma once

using EntryFunction = int (*)(void* instance, void* host);

// Drives the module through its entry: opens `fileName`, asks, reads, clones and deletes. The first thing
// that went wrong; null when all is right.
extern "C" const char* DriveModule(EntryFunction entry, const char* fileName);

// Given by the test's own side.
extern "C" void* AbiAllocate(unsigned long long bytes);
extern "C" void AbiFree(void* memory);
