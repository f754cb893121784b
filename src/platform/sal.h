// The device's operating-system layer: intrusive lists, command lines, device nodes and files.
// Bound at load time like the messaging library.
#pragma once

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

// First member of every list element.
typedef struct SalListLink {
    struct SalListLink *next, *prev;
} SalListLink;

// Embedded in the owner of the elements; keeps them in order of addition.
typedef struct SalList {
    SalListLink *first, *last;
} SalList;

void salListInit(SalList *list);
SalListLink *salListFirst(SalList *list);    // null when empty
SalListLink *salListNext(SalListLink *link); // null after the last
void salListNodeAppend(SalList *list, SalListLink *link);
void salListNodeRemove(SalList *list, SalListLink *link);

int salOpen(const char *path, int flags, int mode); // a descriptor, or negative
int salClose(int fd);

// Returns the driver's result or a negative errno value. An integer argument is passed as a
// pointer value.
int salIoctl(int fd, unsigned int request, void *arg);

// Runs a command line to completion. Returns 0 on success, a positive exit status if the
// command failed, a negative value if it could not be run.
int salCmdExec(const char *commandLine, int arg1, int arg2);

FILE *salFileOpen(const char *path, const char *mode);
int salFilePrintf(FILE *stream, const char *format, ...) __attribute__((format(printf, 2, 3)));
int salFileClose(FILE *stream);
int salUnlink(const char *path);

#ifdef __cplusplus
}
#endif
