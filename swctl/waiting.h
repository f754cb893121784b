// Tells on standard error what a command waits for, once that has taken a second.
#pragma once

namespace swctl {

// From then on, for every answer of the service or the log daemon that is late.
void tellLateAnswers();

} // namespace swctl
