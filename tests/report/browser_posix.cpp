// The report in a real browser: it reads without a network, filters and sorts.
#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/support/temp_file.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

using ::testing::HasSubstr;

// Types into the filter and presses the heads of columns, and writes what a person then sees to the body.
constexpr const char* person = R"(<script>
const see = () => [...document.querySelectorAll("tbody tr")].filter(r => r.offsetHeight > 0)
    .map(r => r.cells[0].textContent).join(" ");
const press = name => [...document.querySelectorAll("th button")].find(b => b.textContent === name).click();
const seen = [see()];
press("Name"); press("Name"); seen.push(see());
press("Take"); seen.push(see());
const filter = document.getElementById("filter");
filter.value = "12a BOOM"; filter.dispatchEvent(new Event("input")); seen.push(see());
seen.push(document.getElementById("shown").textContent);
document.body.append("SEEN[" + seen.join("|") + "]");
</script></body>)";

std::string DomAfter(const TempFolder& folder, std::string page) {
    page.replace(page.rfind("</body>"), 7, person);
    const std::string path = folder.Path("driven.html"), dom = folder.Path("dom");
    WriteWholeFile(path, {page.begin(), page.end()});
    const std::string command =
        "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-sync "
        "--disable-background-networking --disable-component-update --host-resolver-rules='MAP * ~NOTFOUND' "
        "--user-data-dir=" +
        folder.Path("profile") + " --dump-dom file://" + path + " >" + dom + " 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    const Bytes bytes = ReadWholeFile(dom);
    return {bytes.begin(), bytes.end()};
}

TEST(ReportBrowser, FiltersAndSorts) {
    const TempFolder folder;
    const auto takeWith = [&](const std::string& name, const std::string& scene, const std::string& number) {
        const auto file = folder.Write("day/" + name, PatternWav(4800, 2, {}));
        ASSERT_EQ(RunWavehost({"meta", "set", file, "IXML:SCENE=" + scene, "IXML:TAKE=" + number,
                               "IXML:NOTE=boom & lav"})
                      .exitCode,
                  0);
    };
    std::filesystem::create_directory(folder.Path("day"));
    takeWith("a.wav", "12A", "10");
    takeWith("b.wav", "12A", "2");
    takeWith("c.wav", "7", "");
    const HostRun report =
        RunWavehost({"report", folder.Path("day"), "-o", "-", "--set", "Location=Harbour"});
    ASSERT_EQ(report.exitCode, 0) << report.err;
    EXPECT_THAT(DomAfter(folder, report.out),
                HasSubstr("SEEN[a.wav b.wav c.wav|c.wav b.wav a.wav|b.wav a.wav c.wav|b.wav a.wav|2 of 3]"));
}

}  // namespace
}  // namespace vantor::test
