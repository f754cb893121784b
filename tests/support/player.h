// Plays the commands of an account against the library and reports what happened.
// accounts/README.md lists the commands.
#pragma once

#include "support/fixture.h"
#include "support/words.h"

#include <optional>

class Player {
public:
    // Everything recorded while one command ran, "= RESULT", and any broken invariants,
    // one per line.
    std::string play(const std::string &command);

    // The same without taking the lines.
    void perform(const std::string &command);

    // Forks at each platform call of a command, has the child's call fail, and
    // notes what then differs, up to the stop of the service.
    void performFaulty(const std::string &command);

    Fixture &fixture();

private:
    std::optional<Fixture> own;
    std::string broken; // at the last check
    std::set<const void *> abandoned;
};

// One line for each object of the model, with all its fields.
std::string modelShown();

// Calls an exported function with the words that follow; false if there is none of that
// name.
bool exportedCall(const std::string &name, Words &words);

// Calls it with each pointer null in turn.
void argumentsLeaveOut(const std::string &name, const std::string &words);
