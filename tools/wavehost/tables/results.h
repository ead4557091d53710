// The results of a command over many files: one JSON object a file, or the command's own lines.
#pragma once

#include <cstdio>
#include <string>

namespace vantor::wavehost {

enum class ResultForm { text, jsonArray, jsonLines };

// Objects are printed as they come, so that memory stays flat however many there are.
class Results {
  public:
    // `stream`: where they go.
    explicit Results(ResultForm form, std::FILE* stream = stdout) : form_(form), stream_(stream) {}
    // Ends the array, also after an interruption: what came is whole JSON.
    ~Results();
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    [[nodiscard]] bool IsJson() const { return form_ != ResultForm::text; }
    // One JSON object, as text. Throws OutputLost, which ends a batch.
    void Add(const std::string& object);
    // A line on standard error, and {"file","error"} among JSON objects.
    void Failed(const std::string& file, const std::string& message);

  private:
    ResultForm form_;
    std::FILE* stream_;
    bool first_ = true;
};

}  // namespace vantor::wavehost
