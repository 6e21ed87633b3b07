// The gallery's page: entries with their pictures beside each other, in a folder that any browser opens.
#pragma once

#include <string>
#include <vector>

#include "image.h"

// A picture and what it is called in an entry's call.
struct Shown {
    std::string name;
    const Image& image;
};

// What an entry tells: its title, what can be seen, the calls that made the result, and what those were given.
struct Entry {
    std::string title;
    std::string caption;
    std::string calls;
    std::vector<Shown> inputs;
};

class Page {
public:
    // Pictures go to `folder` at once, which must exist; index.html is written by finish(). All throw
    // std::runtime_error when a file can't be written. The source, which entries share, gets one file.
    Page(std::string folder, std::string title, std::string about, const Image& source);

    void add(const Entry& entry, const Image& result);
    void finish() const;

private:
    std::string write(const Shown& shown);
    std::string figure(const Shown& shown, const char* kind);

    std::string folder_;
    std::string title_;
    std::string about_;
    const Image& source_;
    std::string body_;
    int count_ = 0;
};
