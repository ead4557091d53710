// What markers and slices have in common: points of many files, as text, JSON or comma-separated values.
#pragma once

#include <string>
#include <vector>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/marker_table.h"

namespace vantor::wavehost {

struct PointOptions {
    FileArguments files;
    bool json = false;
    bool csv = false;
};

// How one kind of point is asked for and shown.
template <typename Point>
struct PointKind {
    const char* command;
    std::vector<Point> (*of)(PCM_source& source);
    std::string (*json)(const std::string& file, const std::vector<Point>& points);
    CsvRow (*headings)();
    CsvRow (*row)(const std::string& file, double sampleRate, const Point& point);
    void (*print)(const std::vector<Point>& points);
};

// The exit status.
template <typename Point>
int ListPoints(Session& session, const PointOptions& options, const PointKind<Point>& kind) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    const std::vector<ListedFile> files = ListFiles(options.files);
    Results results(form);
    if (options.csv) PrintRow(kind.headings());
    return RunBatch(session, kind.command, files, results, [&](const std::string& file) {
        const HostPtr<PCM_source> source = OpenSource(module, file);
        const std::vector<Point> points = kind.of(*source.Get());
        if (options.json) {
            results.Add(kind.json(file, points));
        } else if (options.csv) {
            for (const Point& point : points)
                PrintRow(kind.row(file, source->SampleRate(), point));
        } else {
            if (files.size() > 1) PrintLine(file);
            kind.print(points);
        }
        return exitDone;
    });
}

}  // namespace vantor::wavehost
