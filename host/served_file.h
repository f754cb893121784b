// Tells clients which database is served, in a file that common/served_file.h describes:
// a client that works on another one would have this one's service clear its network.
#pragma once

// What is served from now on; called once the messaging is the process's own. Where
// there is no folder of sockets nothing is told. The path must stay.
void servedFileIs(const char *path);
void servedFilePublish();
void servedFileWithdraw();
