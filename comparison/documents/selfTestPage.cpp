#include "comparison/documents/selfTestPage.h"

#include <initializer_list>

namespace zarngi
{

namespace
{

constexpr const char* head =
    R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Acceptance test of ZarnGI</title>
<style>
body { font: 15px/1.4 system-ui, sans-serif; max-width: 62rem; margin: 2rem auto; padding: 0 1rem; color: #1b1f24; background: #fff }
h1 { font-size: 1.5rem } h2 { font-size: 1.1rem; margin-top: 2rem }
.verdict { padding: .6rem .9rem; border: 2px solid #1a7f37; border-radius: .3rem; font-weight: 600 }
.verdict.failed { border-color: #b3261e }
table { border-collapse: collapse; width: 100% }
th, td { text-align: left; vertical-align: top; padding: .25rem .6rem; border-bottom: 1px solid #d0d7de; overflow-wrap: anywhere }
.cases :is(th, td:first-child, td:last-child) { white-space: nowrap; overflow-wrap: normal }
tr.failed td { background: #fde7e5 }
.signature td { border: 0; border-bottom: 1px solid #1b1f24; height: 3rem; vertical-align: bottom }
@media print { body { margin: 0; max-width: none; font-size: 10pt } tr { break-inside: avoid } thead { display: table-header-group } }
</style>
</head>
<body>
<h1>Acceptance test of ZarnGI</h1>
)";

constexpr const char* signature =
    R"(<h2>Signature</h2>
<table class="signature"><tbody><tr><td>Name</td><td>Date</td><td>Signature</td></tr></tbody></table>
</body>
</html>
)";

std::string escaped(const std::string& text)
{
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

std::string row(std::initializer_list<std::string> cells, const char* tag = "td")
{
    std::string text;
    for (const std::string& cell : cells) {
        text += "<";
        text += tag;
        text += ">";
        text += escaped(cell);
        text += "</";
        text += tag;
        text += ">";
    }
    return text;
}

std::string verdict(const Json& record)
{
    return record.at("passed").get<bool>()
               ? "<p class=\"verdict\">Passed: this installation computes what it should.</p>\n"
               : "<p class=\"verdict failed\">Failed: this installation must not be used.</p>\n";
}

std::string installation(const Json& record)
{
    const Json& about = record.at("installation");
    std::string text = "<h2>Installation</h2>\n<table><tbody>\n";
    const auto add = [&text](const std::string& name, const std::string& value) {
        text += "<tr>" + row({name, value}) + "</tr>\n";
    };
    add("Version", record.at("program").at("version").get<std::string>());
    add("Tested", record.at("created").get<std::string>());
    add("System", about.at("system").get<std::string>());
    add("Processor", about.at("processor").get<std::string>());
    for (const Json& file : about.at("files")) {
        add(file.at("name").get<std::string>(), "SHA-256 " + file.at("sha256").get<std::string>());
    }
    for (const Json& path : record.at("vectorPaths")) {
        add("Instructions: " + path.at("name").get<std::string>(),
            path.at("tested").get<bool>() ? "tested" : "not tested: this processor has none");
    }
    return text + "</tbody></table>\n";
}

std::string cases(const Json& record)
{
    std::string text =
        "<h2>Cases</h2>\n<p>Wanted values are worked by hand, told by a closed form, or "
        "found by the plain definition of the search.</p>\n<table class=\"cases\"><thead><tr>";
    text += row({"Part", "Case", "Wanted", "Found", "Verdict"}, "th") + "</tr></thead><tbody>\n";
    for (const Json& one : record.at("cases")) {
        const bool isPassed = one.at("passed").get<bool>();
        text += isPassed ? "<tr>" : "<tr class=\"failed\">";
        text += row({one.at("part").get<std::string>(), one.at("name").get<std::string>(),
                     one.at("wanted").get<std::string>(), one.at("found").get<std::string>(),
                     isPassed ? "passed" : "FAILED"});
        text += "</tr>\n";
    }
    return text + "</tbody></table>\n";
}

} // namespace

std::string selfTestPage(const Json& record)
{
    return head + verdict(record) + installation(record) + cases(record) + signature;
}

} // namespace zarngi
