// What the host of the MSVC ABI found out. Plain C, so that both compilers agree on it.
#pragma once

struct AbiReport {
    int entryResult;
    int online;
    int channels;
    int bitDepth;
    double sampleRate;
    double lengthSeconds;
    double beatLength;
    char typeName[32];
    int framesProduced;
    double firstSamples[4];
    int cloneFrames;
    double cloneSample;
    long long extendedResult;  // marker 0, through the last slot
    double markerSeconds;
    int peakReadersMade;
    int peakReadersDestroyed;  // by the module, through the MSVC deleting destructor
};

using EntryFunction = int (*)(void* instance, void* host);

// Drives the module through its entry: opens `fileName`, asks, reads, clones and deletes.
extern "C" void DriveModule(EntryFunction entry, const char* fileName, AbiReport* report);

// Given by the test's own side.
extern "C" void* AbiAllocate(unsigned long long bytes);
extern "C" void AbiFree(void* memory);
