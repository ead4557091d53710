// The module's one export, what a host hands to it, and what it registers.
//
// A host loads the module, finds the entry by name and calls it once, before any other call, from one thread.
// The services are bound process-wide then. Before it unloads the module it destroys every source that it got
// from it, and may call the entry with a null HostInfo.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vantor_wave/host_services.h"

namespace vantor {

inline constexpr int32_t hostInterfaceVersion = 526;

// Handed to the entry, which does not keep it.
struct HostInfo {
    int32_t callerVersion;  // hostInterfaceVersion, exactly
    void* mainWindow;       // the system's handle, or null; not used
    // Takes what the module offers under a key (see `registration`); the pointer is valid while the module is
    // loaded. Nonzero: taken. Null, or 0 for "pcmsrc", makes the entry fail.
    int32_t (*RegisterService)(const char* key, void* service);
    // The service of that name (host_services.h), as an untyped pointer; null: not offered.
    void* (*LookupService)(const char* name);
};
static_assert(offsetof(HostInfo, callerVersion) == 0);
static_assert(offsetof(HostInfo, mainWindow) == 8);
static_assert(offsetof(HostInfo, RegisterService) == 16);
static_assert(offsetof(HostInfo, LookupService) == 24);
static_assert(sizeof(HostInfo) == 32);

// int32_t VantorPluginEntry(void* moduleInstance, HostInfo* host), extern "C".
// moduleInstance: the system's handle of the loaded module (HMODULE on Windows), else null. Answers 1 when
// all is bound and registered. 0: `host` is null (nothing is done), its version is another, LookupService or
// RegisterService is null, a mandatory service is missing, or "pcmsrc" was not taken. RefusalReason, below,
// tells which.
using EntryFunction = int32_t (*)(void* moduleInstance, HostInfo* host);
inline constexpr const char* entryName = "VantorPluginEntry";

// Why the entry has answered 0 to this host, in English; a mandatory service that is missing stands there by
// its name. Valid for ever.
inline const char* RefusalReason(const HostInfo* host) {
    if (!host) return "no HostInfo";
    if (host->callerVersion != hostInterfaceVersion) return "another interface version";
    if (!host->LookupService) return "no LookupService";
    for (const char* name : service::mandatory)
        if (!host->LookupService(name)) return name;
    return host->RegisterService ? "the host did not take \"pcmsrc\"" : "no RegisterService";
}

// What priorities mean to CreateByFile and CreateByType. Below ordinaryPriority both answer null.
inline constexpr int32_t ordinaryPriority = 5;  // 5 and 6: files of the module's own kinds that can be played
inline constexpr int32_t lastResortPriority = 7;  // any file: see CreateByFile

// Registered under "pcmsrc": makes sources, which are the caller's. Any thread.
struct SourceTypeHandler {
    // A new, empty source, to be filled by ReadState, or by ChangeFile and SetOnline. typeName: "WAVE" or
    // "WAVE_SLICE", exactly; else null. (It is a slice once its state says so.)
    PCM_source* (*CreateByType)(const char* typeName, int32_t priority);
    // A source opened on the file, or null.
    //   below 5  null
    //   5, 6     names that end in .wav .w64 .bwf .aif .aiff .caf .caff .L .R (any case): a source that is
    //            online; null when the file cannot be opened or played
    //   7        every name but those that end in .mid: a source, which may be offline (ask IsOnline;
    //            callFileInfoText says why); of MPEG audio in a WAV file the host's own "MP3" source, if it
    //            has one
    //   above 7  as 5 and 6, but offline sources, too
    // A name shorter than 6 bytes gives null at every priority: hand over absolute paths.
    PCM_source* (*CreateByFile)(const char* fileName, int32_t priority);
    // The extensions of one kind of file, separated by ";" ("WAV;W64;BWF"), by index from 0; null behind the
    // last. *description, unless null, receives what to call them, in the user's language. Both valid for
    // ever.
    const char* (*ExtensionList)(int32_t index, const char** description);
};
static_assert(offsetof(SourceTypeHandler, CreateByFile) == 8);
static_assert(offsetof(SourceTypeHandler, ExtensionList) == 16);
static_assert(sizeof(SourceTypeHandler) == 24);

// Flags of "open_file_reduce".
enum ReduceFlags : uint32_t {
    reduceGently = 1,  // looks at thirty files at most, in turn from call to call, and stops after one handle
    reduceByForce = 2,  // also what was in use within the last minute, and handles kept ready for a source
};

// What the entry registers, by key. The functions may be called from any thread.
namespace registration {

inline constexpr const char* sourceTypes = "pcmsrc";  // a const SourceTypeHandler

// A source that carries a WAV, RF64, BW64 or CAF file's tags and no audio, found in one quick pass: the
// caller's. It answers callValueByKey, callEntryByIndex and callPacketTable; every other slot is empty
// (IsOnline false). Null when the file cannot be read, or is no integer PCM WAV or CAF file.
inline constexpr Service<PCM_source*(const char* fileName)> createMetadataSource{
    "API_wave__createMetadataSource"};

// Closes file handles, read buffers and peak sources of files that nobody reads; flags: ReduceFlags. Answers
// how many it closed. They are opened again when they are needed. For a host that runs short of handles.
inline constexpr Service<int32_t(uint32_t flags)> openFileReduce{"open_file_reduce"};

}  // namespace registration

}  // namespace vantor
