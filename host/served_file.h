// Publishes which database is served, in the file described by common/served_file.h. A client
// that worked on another database would make this service tear down its own network.
#pragma once

// Sets the database to publish; servedFilePublish is called once the process owns the messaging
// module. Without a folder of sockets nothing is published. The string must remain valid.
void servedFileIs(const char *path);
void servedFilePublish();
void servedFileWithdraw();
