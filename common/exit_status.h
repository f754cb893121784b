// Exit statuses of the daemons and the simulator's programs.
#pragma once

enum ProgramStatus {
    EXIT_STOPPED = 0, // ended as requested
    EXIT_FAILED = 1,  // could not start, or could not do its work
    EXIT_USAGE = 2,   // wrong arguments
    EXIT_CUT_OFF = 3  // asked to stop, but ended in the middle of its work
};
