// Hooks: what a host may hear from vectorize while it works. Every member may
// be empty.
#pragma once

#include <functional>
#include <string>

namespace om1 {

struct Hooks {
    // A notice worth telling the user before a long wait (a sentence without
    // the picture's name), such as an exact-colour trace of very many regions.
    std::function<void(const std::string&)> notice;
};

}  // namespace om1
