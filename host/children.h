// The tools that the process has started and that are still running.
#pragma once

// Kills them with everything in their process groups. Safe in a signal handler. Does
// nothing on a kernel that does not list a process's children.
void childrenEnd();
