/* What the parts of the example share: ordered lists of a machine's network, each under its name. */
#ifndef NETWORK_LISTS_H
#define NETWORK_LISTS_H

#include "lines.h"

#include <textmaps/arraymap.h>

struct lists {
    /**
     * "resolvers" is a list of addresses. An interface has a list of rules as text, "eth0.routes",
     * one of the networks on its link, "eth0.networks", and a log of events, "eth0.events". All
     * other lists hold text.
     */
    arraymap_t map;
    arraymap_t discarded;    /**< For a log that lost events, how many: a list of one number. */
    uint32_t keep;           /**< How many events a log holds at most; at least 1. */
    unsigned long lines;     /**< Lines of the file of events. */
    unsigned long malformed; /**< Lines that were reported. */
};

/** @return 0; 12 if there is no memory, and there is nothing to destroy. */
int lists_init(struct lists *lists, uint32_t keep);
void lists_destroy(struct lists *lists);

bool has_ending(const char *name, const char *ending);

/** @return The number of values in a list; 0 if there is no such list. */
uint32_t list_length(const arraymap_t *map, const char *name);

/** Keeps the chains short. The table never grows by itself. @return 0; 12 if there is no memory. */
int make_room(arraymap_t *map);

/**
 * Adds a text, in the type of the list, at its end. A log that is full loses its oldest event.
 *
 * @return 0; 12 if there is no memory; 22 if the text is not of the type.
 */
int lists_append(struct lists *lists, const char *name, const char *text);

/** Sets a value, in the type of the list. @return As `lists_append`; 2 if there is no such value. */
int lists_replace(struct lists *lists, const char *name, uint32_t index, const char *text);

/** Removes every equal value. @return As `lists_append`; 2 if there is none. */
int lists_delete(struct lists *lists, const char *name, const char *text);

/** @return What to say of a text that is not of the type of the list. */
const char *mismatch(const char *name);

/** Reports a line on stderr, and counts it. */
void report_malformed(struct lists *lists, const struct line *line, const char *reason,
                      const char *quoted);

/** Appends an event to the log of an interface. @return 0; 12; 22 if none can have that name. */
int log_event(struct lists *lists, const char *interface, const char *text);

/** Logs the lines "INTERFACE TEXT" of a file. @return 0; 12; `errno` if it cannot be read. */
int read_events(struct lists *lists, const char *file);

/** Lists the facts of the machine that the program runs on. @return 0; 12 if no memory. */
int read_machine(struct lists *lists);

#endif
