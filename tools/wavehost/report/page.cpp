#include "wavehost/report/page.h"

#include "wavehost/report/columns.h"
#include "wavehost/report/page_assets.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

// Text as HTML shows it; what is no UTF-8 is read as old recorders wrote it. Control characters, which
// HTML cannot hold, become blanks.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : ShownText(text)) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += static_cast<unsigned char>(c) < ' ' && c != '\n' ? ' ' : c;
        }
    }
    return escaped;
}

std::string Overview(const std::vector<OverviewRow>& rows) {
    std::string html = "<dl class=\"overview\">\n";
    for (const auto& [name, value] : rows)
        html += "<div><dt>" + Escaped(name) + "</dt><dd>" + Escaped(value) + "</dd></div>\n";
    return html + "</dl>\n";
}

std::string Picture(const Take& take) {
    const std::string path = WaveformPath(take.waveform);
    if (path.empty()) return "";
    const std::string width = std::to_string(waveformColumns), height = std::to_string(waveformHeight);
    return "<svg viewBox=\"0 0 " + width + " " + height +
           "\" role=\"img\" aria-label=\"Waveform\"><path d=\"" + path + "\"/></svg>";
}

std::string FindingItems(const Take& take) {
    std::string html;
    if (!take.obstacle.empty()) html += "<li class=\"error\">" + Escaped(take.obstacle) + "</li>";
    for (const TakeFinding& finding : take.findings)
        html += "<li class=\"" + finding.severity + "\">" + Escaped(finding.text) + "</li>";
    return html.empty() ? "" : "<ul>" + html + "</ul>";
}

std::string Cell(const ReportColumn& column, const Take& take) {
    const bool isFindings = &column == &ReportColumns().back();
    const std::string content = isFindings ? FindingItems(take) : Escaped(column.text(take));
    return std::string("<td class=\"") + column.kind + "\">" + content + "</td>";
}

std::string Row(const Take& take) {
    std::string html = take.isCircled ? "<tr class=\"circled\">" : "<tr>";
    for (const ReportColumn& column : ReportColumns())
        html += Cell(column, take);
    return html + "<td class=\"wave\">" + Picture(take) + "</td></tr>\n";
}

std::string Table(const std::vector<Take>& takes) {
    std::string html = "<table id=\"takes\">\n<thead><tr>";
    for (const ReportColumn& column : ReportColumns())
        html += std::string("<th scope=\"col\" class=\"") + column.kind + "\">" + column.name + "</th>";
    html += "<th scope=\"col\" class=\"wave\">Waveform</th></tr></thead>\n<tbody>\n";
    for (const Take& take : takes)
        html += Row(take);
    return html + "</tbody>\n</table>\n";
}

}  // namespace

std::string ReportPage(const std::string& title, const std::vector<OverviewRow>& overview,
                       const std::vector<Take>& takes) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
           Escaped(title) + "</title>\n<style>\n" + std::string(pageStyle) +
           "</style>\n</head>\n<body>\n<h1>" + Escaped(title) + "</h1>\n" + Overview(overview) +
           "<p class=\"filter\" hidden><label>Show takes with <input id=\"filter\" type=\"search\"></label> "
           "<output id=\"shown\"></output></p>\n" +
           Table(takes) + "<script>\n" + std::string(pageScript) + "</script>\n</body>\n</html>\n";
}

}  // namespace vantor::wavehost
