// The verdict on each thing that the program needs, and what to do about what is missing; as a table for
// people and as JSON for programs. Pure.
#pragma once

#include "check/CheckFacts.h"

#include <string>
#include <vector>

namespace orvane {

struct CheckLine {
    enum class Verdict { ok, missing, unknown };

    std::string id;     ///< For programs; never changes: "server", "port", "settings", …
    std::string title;  ///< For people.
    Verdict verdict = Verdict::unknown;
    std::string found;   ///< What is there, or is not.
    std::string advice;  ///< What to do; empty when nothing is to be done.
    /// Without it the phones cannot be recorded at all.
    bool isRequired = false;
};

struct CheckReport {
    std::vector<CheckLine> lines;

    static CheckReport judge(const CheckFacts& facts);

    /// True when the main job can be done: everything required is surely there.
    bool canRun() const;
    /// A line a thing. Text from outside is made harmless.
    std::string table() const;
    std::string json() const;
};

}  // namespace orvane
