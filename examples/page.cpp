// The gallery's page: entries with their pictures beside each other, in a folder that any browser opens.
#include "page.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "bitmap_file.h"

namespace {

constexpr int32_t kShownWidth = 288;
constexpr const char* kSourceFile = "source.bmp";

constexpr const char* kStyle = R"(
:root { color-scheme: light dark; --ink: #1d2330; --soft: #5d6678; --card: #fff; --page: #f1f3f7; --line: #dde1e9;
        --code: #f6f7fa; --accent: #2f6fde; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e8ebf2; --soft: #9aa4b8; --card: #1b1f28; --page: #11141a; --line: #2c323f; --code: #14171e;
          --accent: #7aa7ff; }
}
* { box-sizing: border-box; }
body { margin: 0; padding: 2.5rem 1.5rem 4rem; background: var(--page); color: var(--ink);
       font: 16px/1.5 system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; }
header, main { max-width: 1420px; margin: 0 auto; }
h1 { margin: 0; font-size: 1.9rem; letter-spacing: -.01em; }
header p { margin: .3rem 0 2rem; color: var(--soft); }
main { display: grid; gap: 1.1rem; }
section { background: var(--card); border: 1px solid var(--line); border-radius: 12px; padding: 1.2rem 1.4rem;
          display: grid; grid-template-columns: minmax(0, 26rem) minmax(0, 1fr); gap: 1rem 2rem; }
h2 { margin: 0; font-size: 1.1rem; }
h2 span { color: var(--soft); font-weight: 400; margin-right: .4rem; }
.text p { margin: .25rem 0 .9rem; color: var(--soft); }
.pictures { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-start; }
@media (max-width: 900px) { section { grid-template-columns: minmax(0, 1fr); } }
figure { margin: 0; max-width: 100%; }
img { display: block; max-width: 100%; height: auto; border-radius: 4px; outline: 1px solid var(--line); }
img.enlarged { image-rendering: pixelated; }
figcaption { margin-top: .25rem; font: 12px/1.4 ui-monospace, "DejaVu Sans Mono", monospace; color: var(--soft); }
.result figcaption { color: var(--accent); }
.result img { outline: 2px solid var(--accent); }
pre { margin: 0; padding: .7rem .9rem; background: var(--code); border: 1px solid var(--line);
      border-radius: 8px; overflow-x: auto; font: 13px/1.5 ui-monospace, "DejaVu Sans Mono", monospace; }
)";

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

// A name for a file: letters and digits, and dashes for the rest.
std::string plain(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0) {
            out += static_cast<char>(std::tolower(byte));
        } else if (!out.empty() && out.back() != '-') {
            out += '-';
        }
    }
    return out;
}

} // namespace

Page::Page(std::string folder, std::string title, std::string about, const Image& source)
    : folder_(std::move(folder)), title_(std::move(title)), about_(std::move(about)), source_(source) {
    writeBitmapFile(folder_ + "/" + kSourceFile, *source.get());
}

// Returns the name of the file.
std::string Page::write(const Shown& shown) {
    if (&shown.image == &source_) return kSourceFile;
    const std::string number = std::to_string(count_);
    std::string file = (number.size() < 2 ? "0" : "") + number + "-" + plain(shown.name) + ".bmp";
    writeBitmapFile(folder_ + "/" + file, *shown.image.get());
    return file;
}

std::string Page::figure(const Shown& shown, const char* kind) {
    const std::string file = write(shown);
    // Small pictures are enlarged by whole numbers, large ones made to fit.
    const int32_t width = shown.image->width;
    const int32_t scale = std::max(kShownWidth / width, 1);
    const int32_t across = std::min(width * scale, kShownWidth);
    const bool enlarged = scale > 1;
    return "<figure class=\"" + std::string(kind) + "\"><a href=\"" + file + "\"><img src=\"" + file + "\" alt=\"" +
           escaped(shown.name) + "\" width=\"" + std::to_string(across) + "\"" +
           (enlarged ? " class=\"enlarged\"" : "") + "></a><figcaption>" + escaped(shown.name) +
           (enlarged ? ", " + std::to_string(scale) + "x" : "") + "</figcaption></figure>\n";
}

void Page::add(const Entry& entry, const Image& result) {
    count_++;
    body_ += "<section>\n<div class=\"text\">\n<h2><span>" + std::to_string(count_) + "</span>" + escaped(entry.title) +
             "</h2>\n<p>" + escaped(entry.caption) + "</p>\n<pre>" + escaped(entry.calls) +
             "</pre>\n</div>\n<div class=\"pictures\">\n";
    for (const Shown& input : entry.inputs) body_ += figure(input, "input");
    body_ += figure({"result", result}, "result") + "</div>\n</section>\n";
}

void Page::finish() const {
    const std::string path = folder_ + "/index.html";
    std::ofstream file(path);
    file << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" << escaped(title_)
         << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<header>\n<h1>" << escaped(title_)
         << "</h1>\n<p>" << escaped(about_) << "</p>\n</header>\n<main>\n"
         << body_ << "</main>\n</body>\n</html>\n";
    file.close();
    if (!file) throw std::runtime_error(path + " can't be written");
}
