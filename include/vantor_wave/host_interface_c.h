/* The interface between an audio host and the module vantor_wave, for C (C99) and whatever else calls C.
 *
 * The same as host_interface.h, slot by slot and offset by offset; what each slot, field, service and call
 * takes and gives is written there, under the same names, and in docs/host-guide.md. An object is a pointer
 * to a record whose first field points to a table of functions; every function takes the object first:
 *
 *     source->table->ReadSamples(source, &block);
 *
 * A host's own object (a resampler, say) is a record of the host's that begins with such a pointer. */
#ifndef VANTOR_WAVE_HOST_INTERFACE_C_H
#define VANTOR_WAVE_HOST_INTERFACE_C_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* -- Records (transfer_records.h) */

typedef struct VantorSource VantorSource;

typedef struct VantorTransferBlock {
    double startSeconds;
    double sampleRate;
    int32_t channels;
    int32_t frames;
    double* samples;
    int32_t framesProduced;
    int32_t reserved;
    double absoluteSeconds;
} VantorTransferBlock;
#define VANTOR_NOT_CONTINUATION (-100000.0)

typedef struct VantorPeakRequest {
    double startSeconds;
    double peaksPerSecond;
    int32_t channels;
    int32_t frames;
    double* peaks;
    int32_t framesProduced;
    int32_t reserved;
} VantorPeakRequest;

typedef struct VantorMarkerRecord {
    int32_t id;
    int32_t isRegion;
    double startSeconds;
    double endSeconds;
    const char* name;
    int32_t namePriority;
    int32_t reserved;
} VantorMarkerRecord;

typedef struct VantorSliceRequest {
    VantorSource* source;
    double positionBeats;
    int32_t flags;
    int32_t reserved;
} VantorSliceRequest;
#define VANTOR_SLICE_POSITION_ONLY 1

typedef struct VantorMetadataPair {
    const char* key;
    const char* value;
} VantorMetadataPair;

/* -- Objects that the host lends to the module (host_objects.h) */

#define VANTOR_DELETE_AND_FREE 1u
#define VANTOR_RESAMPLER_MODE 0x1000

typedef struct VantorResampler VantorResampler;
typedef struct VantorResamplerTable {
    void* (*DeletingDestructor)(VantorResampler* self, unsigned flags);
    void (*Configure)(VantorResampler* self, int32_t what, intptr_t mode);
    void (*SetRates)(VantorResampler* self, double inputRate, double outputRate);
    double (*LatencySeconds)(VantorResampler* self);
    void (*Reset)(VantorResampler* self);
    int32_t (*RequestInput)(VantorResampler* self, int32_t outputFrames, int32_t channels, double** input);
    int32_t (*Produce)(VantorResampler* self, double* output, int32_t inputFrames, int32_t outputFrames,
                       int32_t channels);
} VantorResamplerTable;
struct VantorResampler {
    const VantorResamplerTable* table;
};

typedef struct VantorPeakReader VantorPeakReader;
typedef struct VantorPeakReaderTable {
    void* (*DeletingDestructor)(VantorPeakReader* self, unsigned flags);
    double (*PeaksPerSecond)(VantorPeakReader* self);
    void (*ReadPeaks)(VantorPeakReader* self, VantorPeakRequest* request);
} VantorPeakReaderTable;
struct VantorPeakReader {
    const VantorPeakReaderTable* table;
};

typedef struct VantorPeakBuilder VantorPeakBuilder;
typedef struct VantorPeakBuilderTable {
    void* (*DeletingDestructor)(VantorPeakBuilder* self, unsigned flags);
    double (*ProgressFraction)(VantorPeakBuilder* self);
    int32_t (*Run)(VantorPeakBuilder* self);
} VantorPeakBuilderTable;
struct VantorPeakBuilder {
    const VantorPeakBuilderTable* table;
};

typedef struct VantorProjectContext VantorProjectContext;
typedef struct VantorProjectContextTable {
    void* (*DeletingDestructor)(VantorProjectContext* self, unsigned flags);
    int32_t (*AddLine)(VantorProjectContext* self, const char* format, ...);
    int32_t (*NextLine)(VantorProjectContext* self, char* line, int32_t lineBytes);
} VantorProjectContextTable;
struct VantorProjectContext {
    const VantorProjectContextTable* table;
};

/* -- The audio source (pcm_source.h) */

typedef struct VantorSourceTable {
    void* (*DeletingDestructor)(VantorSource* self, unsigned flags);
    VantorSource* (*Clone)(VantorSource* self);
    bool (*IsOnline)(VantorSource* self);
    void (*SetOnline)(VantorSource* self, bool online);
    const char* (*TypeName)(VantorSource* self);
    const char* (*FileName)(VantorSource* self);
    bool (*ChangeFile)(VantorSource* self, const char* fileName);
    VantorSource* (*SubSource)(VantorSource* self);
    void (*SetSubSource)(VantorSource* self, VantorSource* source);
    int32_t (*ChannelCount)(VantorSource* self);
    double (*SampleRate)(VantorSource* self);
    double (*LengthSeconds)(VantorSource* self);
    double (*BeatLength)(VantorSource* self);
    int32_t (*BitDepth)(VantorSource* self);
    double (*PlacementPosition)(VantorSource* self);
    int32_t (*ShowProperties)(VantorSource* self, void* parentWindow);
    void (*ReadSamples)(VantorSource* self, VantorTransferBlock* block);
    void (*ReadPeaks)(VantorSource* self, VantorPeakRequest* request);
    int32_t (*WriteState)(VantorSource* self, VantorProjectContext* context);
    int32_t (*ReadState)(VantorSource* self, const char* firstLine, VantorProjectContext* context);
    void (*ClearPeaks)(VantorSource* self, bool deleteFiles);
    int32_t (*BeginPeakBuild)(VantorSource* self, intptr_t extra);
    int32_t (*RunPeakBuild)(VantorSource* self);
    void (*FinishPeakBuild)(VantorSource* self);
    intptr_t (*ExtendedCall)(VantorSource* self, int32_t code, void* a, void* b, void* c);
} VantorSourceTable;
struct VantorSource {
    const VantorSourceTable* table;
};

/* -- The calls that ExtendedCall answers (extended_calls.h) */

enum VantorExtendedCode {
    VANTOR_CALL_VALUE_BY_KEY = 0x10007,
    VANTOR_CALL_ENTRY_BY_INDEX = 0x10013,
    VANTOR_CALL_PROJECT_NOTE = 0x10006,
    VANTOR_CALL_FILE_INFO_TEXT = 0x10014,
    VANTOR_CALL_WRITE_METADATA = 0x20008,
    VANTOR_CALL_DOCUMENT = 0x10017,
    VANTOR_CALL_WRITE_DOCUMENT = 0x20009,
    VANTOR_CALL_PLANNED_ENTRY = 0x10018,
    VANTOR_CALL_PLANNED_CHUNK = 0x10019,
    VANTOR_CALL_REBUILT_SCHEME = 0x1001a,
    VANTOR_CALL_TEMPO = 0x40000,
    VANTOR_CALL_USABLE_TEMPO = 0x9000d,
    VANTOR_CALL_ALLOCATED_MARKER = 0x90005,
    VANTOR_CALL_BEAT_SLICES = 0x90006,
    VANTOR_CALL_SOURCE_GOES_AWAY = 0x90007,
    VANTOR_CALL_SET_HOST_VALUE = 0x9000a,
    VANTOR_CALL_MARKER = 0x90016,
    VANTOR_CALL_PACKET_TABLE = 0x90001
};

/* What VANTOR_CALL_WRITE_DOCUMENT puts in, and VANTOR_CALL_PLANNED_CHUNK tells */
typedef struct VantorDocumentRecord {
    const char* scheme;
    const void* bytes;
    int64_t byteCount;
} VantorDocumentRecord;

enum VantorWriteFlags {
    VANTOR_WRITE_MERGE = 1,
    VANTOR_WRITE_NEVER_IN_PLACE = 2,
    VANTOR_WRITE_LOSSLESS = 4,
    VANTOR_WRITE_ANSWER_ALONE = 8
};

enum VantorWriteAnswer { VANTOR_WRITE_FAILED = 0, VANTOR_WRITTEN_TO_TARGET = 1, VANTOR_UPDATED_IN_PLACE = 2 };

/* -- What the host offers (host_services.h): the name looked up, and the type of its function */

/* Mandatory */
#define VANTOR_SERVICE_CREATE_RESAMPLER "Resampler_Create"
typedef VantorResampler* (*VantorCreateResampler)(void);
#define VANTOR_SERVICE_FORMAT_TIME "format_timestr"
typedef void (*VantorFormatTime)(double seconds, char* text, int32_t textBytes);
#define VANTOR_SERVICE_CREATE_PEAK_READER "PeakGet_Create"
typedef VantorPeakReader* (*VantorCreatePeakReader)(const char* fileName, int32_t sampleRate,
                                                    int32_t channels, intptr_t extra);
#define VANTOR_SERVICE_CREATE_PEAK_BUILDER "PeakBuild_CreateEx"
typedef VantorPeakBuilder* (*VantorCreatePeakBuilder)(VantorSource* source, const char* fileName,
                                                      int32_t sampleRate, int32_t channels, int32_t isFloat);
#define VANTOR_SERVICE_RESOLVE_FILE_NAME "resolve_fn"
typedef void (*VantorResolveFileName)(const char* in, char* out, int32_t outBytes);

/* Not mandatory */
#define VANTOR_SERVICE_CREATE_FROM_TYPE "PCM_Source_CreateFromType"
typedef VantorSource* (*VantorCreateFromType)(const char* typeName);
#define VANTOR_SERVICE_RELATIVE_FILE_NAME "relative_fn"
typedef void (*VantorRelativeFileName)(const char* in, char* out, int32_t outBytes);
#define VANTOR_SERVICE_PEAK_FILE_NAME "GetPeakFileName"
typedef void (*VantorPeakFileName)(const char* fileName, char* out, int32_t outBytes);
#define VANTOR_SERVICE_UPDATE_DISK_COUNTERS "update_disk_counters"
typedef void (*VantorUpdateDiskCounters)(int32_t bytesRead, int32_t bytesWritten);
#define VANTOR_DISK_FULL ((int32_t)0xF9FAB541u)
#define VANTOR_DISK_WRITE_ERROR ((int32_t)0xF9FAB542u)
#define VANTOR_SERVICE_PREFERRED_READ_MODE "GetPreferredDiskReadMode"
#define VANTOR_SERVICE_PREFERRED_PEAK_READ_MODE "GetPreferredDiskReadModePeak"
typedef void (*VantorPreferredReadMode)(int32_t* mode, int32_t* blocks, int32_t* blockBytes);
enum VantorDiskReadMode {
    VANTOR_READ_UNCACHED = -1,
    VANTOR_READ_CACHED = 0,
    VANTOR_READ_AHEAD_UNCACHED = 1,
    VANTOR_READ_AHEAD_CACHED = 2
};
#define VANTOR_SERVICE_HIRES_PEAKS "HiresPeaksFromSource"
typedef void (*VantorHiresPeaks)(VantorSource* source, VantorPeakRequest* request);
#define VANTOR_SERVICE_OPEN_IMAGE_MODAL "OpenImageModal"
typedef int32_t (*VantorOpenImageModal)(void* parentWindow, const void* image, int32_t imageBytes,
                                        const char* title);
#define VANTOR_SERVICE_LOCALIZE "__localizeFunc"
typedef const char* (*VantorLocalize)(const char* text, const char* section, int32_t flags);

/* -- The entry, what it is handed and what it registers (plugin_entry.h) */

#define VANTOR_HOST_INTERFACE_VERSION 526

typedef struct VantorHostInfo {
    int32_t callerVersion;
    void* mainWindow;
    int32_t (*RegisterService)(const char* key, void* service);
    void* (*LookupService)(const char* name);
} VantorHostInfo;

#define VANTOR_ENTRY_NAME "VantorPluginEntry"
typedef int32_t (*VantorEntryFunction)(void* moduleInstance, VantorHostInfo* host);

#define VANTOR_ORDINARY_PRIORITY 5
#define VANTOR_LAST_RESORT_PRIORITY 7

#define VANTOR_REGISTERED_SOURCE_TYPES "pcmsrc"
typedef struct VantorSourceTypeHandler {
    VantorSource* (*CreateByType)(const char* typeName, int32_t priority);
    VantorSource* (*CreateByFile)(const char* fileName, int32_t priority);
    const char* (*ExtensionList)(int32_t index, const char** description);
} VantorSourceTypeHandler;

#define VANTOR_REGISTERED_CREATE_METADATA_SOURCE "API_wave__createMetadataSource"
typedef VantorSource* (*VantorCreateMetadataSource)(const char* fileName);
#define VANTOR_REGISTERED_OPEN_FILE_REDUCE "open_file_reduce"
typedef int32_t (*VantorOpenFileReduce)(uint32_t flags);
enum VantorReduceFlags { VANTOR_REDUCE_GENTLY = 1, VANTOR_REDUCE_BY_FORCE = 2 };

#ifdef __cplusplus
}
#endif

#endif
