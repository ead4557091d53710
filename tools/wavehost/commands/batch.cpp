#include "wavehost/commands/batch.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "wavehost/files/progress.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

int RunBatch(const Session& session, const std::string& title, const std::vector<ListedFile>& files,
             Results& results, const std::function<int(const std::string& file)>& work) {
    // On a terminal the results themselves show how far it is.
    Progress progress(title, session.quiet || IsTerminal(stdout));
    int status = exitDone;
    double done = 0;
    for (const ListedFile& file : files) {
        CheckInterruption();
        if (std::ferror(stdout)) break;  // told at the end
        progress.Show(done++ / static_cast<double>(files.size()));
        try {
            if (!file.obstacle.empty()) throw Failure(file.obstacle);
            status = std::max(status, work(file.name));
        } catch (const std::exception& failure) {
            results.Failed(file.name, failure.what());
            status = exitFailed;
        }
    }
    return status;
}

}  // namespace vantor::wavehost
