/* The version of the library: these three numbers are its only place. The build, the
 * packages and the record in the DLL read them here. MAJOR rises when programs must be
 * built anew, MINOR when functions are added, PATCH when neither. Plain C. */
#ifndef QUIBTOOL_VERSION_H
#define QUIBTOOL_VERSION_H

#define QUIBTOOL_VERSION_MAJOR 1
#define QUIBTOOL_VERSION_MINOR 0
#define QUIBTOOL_VERSION_PATCH 0

/* 10203 for 1.2.3, to compare versions by. */
#define QUIBTOOL_VERSION_NUMBER                                                                    \
    (QUIBTOOL_VERSION_MAJOR * 10000 + QUIBTOOL_VERSION_MINOR * 100 + QUIBTOOL_VERSION_PATCH)

/* "1.2.3" */
#define QUIBTOOL_VERSION                                                                           \
    QUIBTOOL_VERSION_JOIN(QUIBTOOL_VERSION_MAJOR, QUIBTOOL_VERSION_MINOR, QUIBTOOL_VERSION_PATCH)
#define QUIBTOOL_VERSION_JOIN(major, minor, patch) QUIBTOOL_VERSION_TEXT(major, minor, patch)
#define QUIBTOOL_VERSION_TEXT(major, minor, patch) #major "." #minor "." #patch

#endif
