/* A file of services as two tables, one for each way to ask. */
#ifndef SERVICES_TABLE_H
#define SERVICES_TABLE_H

#include <textmaps/multimap.h>

#include <stddef.h>

enum { DUPLICATE_LINES_KEPT = 5 };

/** What a file says. A pair of a name and a port is in both tables. */
struct services {
    const char *file;         /**< Its name in reports. */
    multimap_t ports;         /**< The name or alias of a service to each "port/protocol". */
    multimap_t names;         /**< "port/protocol" to each name and alias. */
    unsigned long lines;      /**< Lines read. */
    unsigned long malformed;  /**< Lines that were reported. */
    unsigned long duplicates; /**< Pairs that were refused, being there already. */
    unsigned long duplicate_lines[DUPLICATE_LINES_KEPT]; /**< The first lines with one. */
    size_t duplicate_line_count;
};

/**
 * Makes the tables of the lines of a file, and reports malformed ones on stderr.
 *
 * @param file  A path, or "-" for the standard input. It must live as long as the tables.
 * @return 0; 12 if there is no memory; `errno` if the file cannot be read. On failure there is
 * nothing to destroy.
 */
int services_read(struct services *services, const char *file);
void services_destroy(struct services *services);

/** Merges names, and ports, that differ in case only, and says on stderr how many are left. */
void services_ignore_case(struct services *services);

/** Says on stderr what was read and what the tables hold. */
void services_summarise(const struct services *services);

#endif
