/*
 * Which ports has a service, and which services have a port: a file in the format of /etc/services,
 * kept in two multimaps, and compared with another such file.
 */
#include "services_table.h"

#include <textmaps/error.h>

#include <errno.h>
#include <inttypes.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>

/* A test can have a machine of its own in another place. */
#ifndef SERVICES_FILE
#define SERVICES_FILE "/etc/services"
#endif

enum { EXIT_UNANSWERED = 1, EXIT_TROUBLE = 2, LINES_SHOWN = 5 };

static const char usage[] =
    "usage: services [--ports SERVICE] [--services PORT/PROTOCOL] [--compare FILE] [--dump]\n"
    "                [--ignore-case] [FILE]\n"
    "\n"
    "Reads the services of FILE ('-' for standard input; without FILE those of this machine,\n"
    "" SERVICES_FILE ", or if it has none the sample,\n"
    "" SERVICES_SAMPLE "),\n"
    "asks for some of them by name and by port, and compares them with the sample.\n"
    "\n"
    "  --ports SERVICE           print only the ports of this service, one on each line\n"
    "  --services PORT/PROTOCOL  print only the services that have this port, one on each line\n"
    "  --compare FILE            print how many pairs of a name and a port are in both files, and\n"
    "                            in either\n"
    "  --dump                    print all pairs, by name\n"
    "  --ignore-case             take names that differ in case only for one, and ports likewise\n"
    "  --help                    print this text\n"
    "\n"
    "Exit status: 0; 1 if there is no such service or port; 2 for wrong usage, a file that cannot\n"
    "be read, or lack of memory.\n";

struct options {
    const char *service;
    const char *port;
    const char *file;
    const char *other;
    bool dump;
    bool ignore_case;
    bool help;
};

static bool usage_error(const char *problem, const char *argument)
{
    fprintf(stderr, "services: %s%s\n%s", problem, argument, usage);
    return false;
}

/* Where the value of an option goes; NULL for an argument that takes none. */
static const char **value_of(struct options *options, const char *argument)
{
    if (strcmp(argument, "--ports") == 0) {
        return &options->service;
    }
    if (strcmp(argument, "--services") == 0) {
        return &options->port;
    }
    return strcmp(argument, "--compare") == 0 ? &options->other : NULL;
}

/* `arguments` ends with NULL. */
static bool parse_options(char **arguments, struct options *options)
{
    for (; *arguments != NULL; ++arguments) {
        const char *const argument = *arguments;
        const char **const value = value_of(options, argument);
        if (value != NULL && *value != NULL) {
            return usage_error("more than once: ", argument);
        }
        if (value != NULL) {
            *value = *++arguments;
            if (*value == NULL) {
                return usage_error("a value is missing behind ", argument);
            }
        } else if (strcmp(argument, "--dump") == 0) {
            options->dump = true;
        } else if (strcmp(argument, "--ignore-case") == 0) {
            options->ignore_case = true;
        } else if (strcmp(argument, "--help") == 0) {
            options->help = true;
        } else if (argument[0] == '-' && argument[1] != '\0') {
            return usage_error("no such option: ", argument);
        } else if (options->file != NULL) {
            return usage_error("more than one file: ", argument);
        } else {
            options->file = argument;
        }
    }
    const bool both = options->file != NULL && options->other != NULL;
    if (both && strcmp(options->file, "-") == 0 && strcmp(options->other, "-") == 0) {
        return usage_error("standard input cannot be read twice", "");
    }
    return true;
}

static int complain(const char *subject, const char *problem)
{
    fprintf(stderr, "%s: %s\n", subject, problem);
    return EXIT_TROUBLE;
}

static int answer(const multimap_t *map, const char *key)
{
    multimap_value_iter_t values = {0};
    const char *value = multimap_value_first(map, key, &values);
    if (value == NULL) {
        fprintf(stderr, "%s: not found (%d)\n", key, ENOENT);
        return EXIT_UNANSWERED;
    }
    for (; value != NULL; value = multimap_value_next(&values)) {
        puts(value);
    }
    return EXIT_SUCCESS;
}

static void show_values(const multimap_t *map, const char *key)
{
    printf("  %s:", key);
    multimap_value_iter_t values = {0};
    for (const char *value = multimap_value_first(map, key, &values); value != NULL;
         value = multimap_value_next(&values)) {
        printf(" %s", value);
    }
    putchar('\n');
}

static void show(const struct services *services)
{
    puts("Ports of a service");
    show_values(&services->ports, "domain");
    show_values(&services->ports, "krb5");
    puts("Services on a port");
    show_values(&services->names, "80/tcp");
    show_values(&services->names, "88/udp");
    uint32_t index;
    if (multimap_find_str(&services->ports, "domain", "53/udp", &index) == 0) {
        printf("53/udp stands at position %" PRIu32 " of domain\n", index);
    }
}

/* Prints the first lines of a listing, as many as the context says: multimap_print hands over all. */
static int print_first(void *context, const char *format, ...)
{
    int *const lines_left = context;
    if (*lines_left == 0) {
        return 0;
    }
    --*lines_left;
    va_list arguments;
    va_start(arguments, format);
    const int written = vprintf(format, arguments);
    va_end(arguments);
    return written;
}

static int compare(const struct services *a, const struct services *b)
{
    multimap_t combined;
    int result = multimap_init(&combined);
    if (result != 0) {
        return result;
    }
    const uint32_t a_size = a->ports.hashsize;
    const uint32_t b_size = b->ports.hashsize;
    multimap_setcasekeys(&combined, a->ports.casekeys);
    puts("Pairs of a service and a port");
    printf("  %s: %" PRId32 "\n  %s: %" PRId32 "\n", a->file, a->ports.numvalues, b->file,
           b->ports.numvalues);
    result = multimap_sethashsize(&combined, a_size > b_size ? a_size : b_size);
    if (result == 0) {
        result = multimap_union(&a->ports, &b->ports, &combined);
    }
    if (result == 0) {
        printf("  in either: %" PRId32 "\n", combined.numvalues);
        result = multimap_intersection(&a->ports, &b->ports, &combined);
    }
    if (result == 0) {
        printf("  in both: %" PRId32 "\n", combined.numvalues);
        int lines = multimap_isempty(&combined) ? 0 : LINES_SHOWN;
        multimap_print(&combined, print_first, &lines);
    }
    multimap_destroy(&combined);
    return result;
}

/* Without `file`, the machine's own. On failure there is nothing to destroy. */
static int load(struct services *services, const char *file, bool ignore_case)
{
    const char *source = file != NULL ? file : SERVICES_FILE;
    int result = services_read(services, source);
    if (result == ENOENT && file == NULL) {
        fprintf(stderr, "%s: %s: the sample is read instead\n", source, strerror(result));
        source = SERVICES_SAMPLE;
        result = services_read(services, source);
    }
    if (result != 0) {
        return complain(source, strerror(result));
    }
    services_summarise(services);
    if (ignore_case) {
        services_ignore_case(services);
    }
    return EXIT_SUCCESS;
}

static int compare_with(const struct services *services, const char *file, bool ignore_case)
{
    struct services other;
    const int status = load(&other, file, ignore_case);
    if (status != EXIT_SUCCESS) {
        return status;
    }
    const int result = compare(services, &other);
    services_destroy(&other);
    return result != 0 ? complain("comparison", textmaps_error_text(result)) : EXIT_SUCCESS;
}

static int worse(int status, int other)
{
    return other > status ? other : status;
}

static int respond(const struct services *services, const struct options *options)
{
    const char *other = options->other;
    int status = EXIT_SUCCESS;
    if (options->service != NULL) {
        status = answer(&services->ports, options->service);
    }
    if (options->port != NULL) {
        status = worse(status, answer(&services->names, options->port));
    }
    if (options->dump) {
        multimap_dump(&services->ports, stdout);
    }
    if (options->service == NULL && options->port == NULL && !options->dump && other == NULL) {
        show(services);
        other = SERVICES_SAMPLE;
    }
    return other == NULL ? status
                         : worse(status, compare_with(services, other, options->ignore_case));
}

static int run(const struct options *options)
{
    struct services services;
    int status = load(&services, options->file, options->ignore_case);
    if (status == EXIT_SUCCESS) {
        status = respond(&services, options);
        services_destroy(&services);
    }
    return status;
}

int main(int argc, char **argv)
{
    (void)argc;
    struct options options = {0};
    int status = EXIT_SUCCESS;
    if (!parse_options(argv + 1, &options)) {
        status = EXIT_TROUBLE;
    } else if (options.help) {
        fputs(usage, stdout);
    } else {
        status = run(&options);
    }
    if (fflush(stdout) != 0 || ferror(stdout)) {
        status = complain("standard output", strerror(EIO));
    }
    return status;
}
