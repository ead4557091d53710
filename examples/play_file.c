/* play_file MODULE FILE: plays an audio file through the module to standard output (64-bit floats, interleaved),
 * and prints its tags to standard error. A whole host in C99; docs/host-guide.md says what each step is for. */
#define _XOPEN_SOURCE 700 /* realpath */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vantor_wave/host_interface_c.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
typedef wchar_t PathChar;
static VantorEntryFunction FindEntry(const wchar_t* name, void** module) {
    if (!(*module = LoadLibraryW(name))) return NULL;
    return (VantorEntryFunction)(void (*)(void))GetProcAddress(*module, VANTOR_ENTRY_NAME);
}
static char* FullName(const wchar_t* name) { /* absolute, in UTF-8 */
    static wchar_t wide[4096];
    static char full[3 * 4096];
    if (!GetFullPathNameW(name, 4096, wide, NULL)) return NULL;
    return WideCharToMultiByte(CP_UTF8, 0, wide, -1, full, sizeof full, NULL, NULL) ? full : NULL;
}
#else
#include <dlfcn.h>
typedef char PathChar;
static VantorEntryFunction FindEntry(const char* name, void** module) {
    *module = dlopen(name, RTLD_NOW);
    return *module ? (VantorEntryFunction)(intptr_t)dlsym(*module, VANTOR_ENTRY_NAME) : NULL;
}
static char* FullName(const char* name) { return realpath(name, NULL); }
#endif

/* The mandatory services, as a host without resampler, peaks and projects has them. */
static VantorResampler* NoResampler(void) { return NULL; }
static VantorPeakReader* NoPeaks(const char* f, int32_t r, int32_t c, intptr_t x) { return NULL; }
static VantorPeakBuilder* NoBuilder(VantorSource* s, const char* f, int32_t r, int32_t c, int32_t x) { return NULL; }
static void TimeText(double time, char* text, int32_t bytes) { snprintf(text, (size_t)bytes, "%fs", time); }
static void Copy(const char* in, char* out, int32_t bytes) { snprintf(out, (size_t)bytes, "%s", in); }
typedef void (*Function)(void);
static void* LookupService(const char* name) {
    Function function = NULL;
    if (strcmp(name, VANTOR_SERVICE_CREATE_RESAMPLER) == 0) function = (Function)NoResampler;
    if (strcmp(name, VANTOR_SERVICE_CREATE_PEAK_READER) == 0) function = (Function)NoPeaks;
    if (strcmp(name, VANTOR_SERVICE_CREATE_PEAK_BUILDER) == 0) function = (Function)NoBuilder;
    if (strcmp(name, VANTOR_SERVICE_FORMAT_TIME) == 0) function = (Function)TimeText;
    if (strcmp(name, VANTOR_SERVICE_RESOLVE_FILE_NAME) == 0) function = (Function)Copy;
    return (void*)(intptr_t)function;
}

static const VantorSourceTypeHandler* sourceTypes = NULL;
static int32_t RegisterService(const char* key, void* service) {
    if (strcmp(key, VANTOR_REGISTERED_SOURCE_TYPES) == 0) sourceTypes = service;
    return 1;
}

static int Fail(const char* reason) { return fprintf(stderr, "play_file: %s\n", reason), 1; }

static int Play(VantorSource* source, const VantorSourceTable* call) {
    const char *key, *value;
    static char info[4096];
    call->ExtendedCall(source, VANTOR_CALL_FILE_INFO_TEXT, info, (void*)sizeof info, NULL);
    if (!call->IsOnline(source)) return Fail(info);
    for (intptr_t i = 0; call->ExtendedCall(source, VANTOR_CALL_ENTRY_BY_INDEX, (void*)i, &key, &value); ++i)
        fprintf(stderr, "%s=%s\n", key, value);
    VantorTransferBlock block = {0, call->SampleRate(source), call->ChannelCount(source), 4096, NULL, 0, 0, 0};
    if (!(block.samples = malloc(sizeof(double) * 4096 * (size_t)block.channels))) return Fail("out of memory");
    size_t count;
    double frame = 0;
    do {
        block.startSeconds = frame / block.sampleRate;
        call->ReadSamples(source, &block);
        frame += block.framesProduced;
        count = (size_t)block.framesProduced * (size_t)block.channels; /* 0: the end */
    } while (count > 0 && fwrite(block.samples, sizeof(double), count, stdout) == count);
    free(block.samples);
    return count == 0 && fflush(stdout) == 0 ? 0 : Fail("standard output cannot be written");
}

int main(int count, char** arguments) {
    PathChar** names = (PathChar**)arguments;
    void* module = NULL;
#ifdef _WIN32
    names = CommandLineToArgvW(GetCommandLineW(), &count); /* main's are not in UTF-8 */
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    if (count != 3) return Fail("usage: play_file MODULE FILE > SAMPLES");
    VantorEntryFunction entry = FindEntry(names[1], &module);
    if (!entry) return Fail("MODULE cannot be loaded, or is no such module");
    VantorHostInfo host = {VANTOR_HOST_INTERFACE_VERSION, NULL, RegisterService, LookupService};
    if (entry(module, &host) != 1) return Fail("the module refuses this host: what does it miss?");
    const char* file = FullName(names[2]);
    VantorSource* source = file ? sourceTypes->CreateByFile(file, VANTOR_LAST_RESORT_PRIORITY) : NULL;
    if (!source) return Fail("FILE is not there, or not for this module");
    const int status = Play(source, source->table);
    return source->table->DeletingDestructor(source, VANTOR_DELETE_AND_FREE), status;
}
