/*
 * Lists whose order matters, kept in an arraymap and edited by position: the routes of each
 * interface, the resolvers, and a log of what happened to each interface.
 */
#include "network_lists.h"

#include <textmaps/error.h>

#include <ctype.h>
#include <errno.h>
#include <inttypes.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

enum { EXIT_UNANSWERED = 1, EXIT_TROUBLE = 2, EVENTS_KEPT = 8 };

static const char usage[] =
    "usage: network_lists [--keep N] [ACTION]... [FILE]\n"
    "\n"
    "Lists the routes and resolvers of this machine and the state of its interfaces, logs the "
    "events\n"
    "of FILE, one 'INTERFACE TEXT' on each line ('-' for standard input; without FILE the "
    "sample,\n" NETWORK_LISTS_EVENTS "),\n"
    "and does the actions in their order; without any it shows what can be done with lists. Edits\n"
    "last until the end of the program.\n"
    "\n"
    "  --append NAME TEXT         add a value at the end of the list, or make a list of it\n"
    "  --replace NAME INDEX TEXT  set a value; the first is 0\n"
    "  --remove NAME INDEX        remove a value\n"
    "  --delete NAME TEXT         remove every value that equals this one\n"
    "  --get NAME INDEX           print a value\n"
    "  --list NAME                print the values of a list, one on each line\n"
    "  --dump                     print all lists, by name\n"
    "  --keep N                   keep the last N events of an interface (8)\n"
    "  --help                     print this text\n"
    "\n"
    "The lists are 'resolvers' (IP addresses), INTERFACE.routes, INTERFACE.networks (networks "
    "with\n"
    "their prefix), INTERFACE.events, and any others that are made.\n"
    "\n"
    "Exit status: 0; 1 if an action failed; 2 for wrong usage, a FILE that cannot be read, or "
    "lack\n"
    "of memory.\n";

enum verb { APPEND, REPLACE, REMOVE, DELETE, GET, LIST, DUMP, VERB_COUNT };

static const struct {
    const char *option;
    size_t values; /* that follow the option */
    bool index;    /* whether the second of them is one */
} verbs[VERB_COUNT] = {
    [APPEND] = {"--append", 2, false}, [REPLACE] = {"--replace", 3, true},
    [REMOVE] = {"--remove", 2, true},  [DELETE] = {"--delete", 2, false},
    [GET] = {"--get", 2, true},        [LIST] = {"--list", 1, false},
    [DUMP] = {"--dump", 0, false},
};

struct action {
    enum verb verb;
    const char *name;
    uint32_t index;
    const char *text;
};

struct options {
    struct action *actions;
    size_t action_count;
    const char *file;
    uint32_t keep;
    bool help;
};

static bool usage_error(const char *problem, const char *argument)
{
    fprintf(stderr, "network_lists: %s%s\n%s", problem, argument, usage);
    return false;
}

static bool parse_number(const char *text, uint32_t least, uint32_t *number)
{
    char *end;
    const unsigned long long value = strtoull(text, &end, 10);
    if (!isdigit((unsigned char)text[0]) || *end != '\0' || value < least || value > UINT32_MAX) {
        return usage_error("not a number, or out of range: ", text);
    }
    *number = (uint32_t)value;
    return true;
}

static enum verb verb_named(const char *option)
{
    enum verb verb = APPEND;
    while (verb < VERB_COUNT && strcmp(verbs[verb].option, option) != 0) {
        ++verb;
    }
    return verb;
}

/* `arguments` begins with the option and ends with NULL. */
static bool parse_action(char **arguments, struct action *action)
{
    const size_t values = verbs[action->verb].values;
    for (size_t i = 1; i <= values; ++i) {
        if (arguments[i] == NULL) {
            return usage_error("a value is missing behind ", arguments[0]);
        }
    }
    action->name = values > 0 ? arguments[1] : NULL;
    action->text = values > 0 ? arguments[values] : NULL;
    return !verbs[action->verb].index || parse_number(arguments[2], 0, &action->index);
}

/* `arguments` ends with NULL, and `actions` has room for one action for each of them. */
static bool parse_options(char **arguments, struct options *options)
{
    for (; *arguments != NULL; ++arguments) {
        const char *const argument = *arguments;
        const enum verb verb = verb_named(argument);
        if (verb != VERB_COUNT) {
            struct action *const action = &options->actions[options->action_count++];
            action->verb = verb;
            if (!parse_action(arguments, action)) {
                return false;
            }
            arguments += verbs[verb].values;
        } else if (strcmp(argument, "--keep") == 0) {
            if (*++arguments == NULL) {
                return usage_error("a value is missing behind ", argument);
            }
            if (!parse_number(*arguments, 1, &options->keep)) {
                return false;
            }
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
    return true;
}

static int complain(const char *subject, const char *problem)
{
    fprintf(stderr, "%s: %s\n", subject, problem);
    return EXIT_TROUBLE;
}

static int print_list(const arraymap_t *map, const char *name, bool numbered)
{
    arraymap_value_iter_t values = {0};
    const char *value = arraymap_value_first(map, name, &values);
    if (value == NULL) {
        return ENOENT;
    }
    for (; value != NULL; value = arraymap_value_next(&values)) {
        if (numbered) {
            printf("  %s %" PRIu32 ": ", name, arraymap_value_index(&values));
        }
        puts(value);
    }
    return 0;
}

static int print_value(const arraymap_t *map, const char *name, uint32_t index)
{
    const void *value;
    const int result = arraymap_index(map, name, index, &value, NULL);
    if (result == 0) {
        puts(value);
    }
    return result;
}

static int perform(struct lists *lists, const struct action *action)
{
    switch (action->verb) {
    case APPEND: return lists_append(lists, action->name, action->text);
    case REPLACE: return lists_replace(lists, action->name, action->index, action->text);
    case REMOVE: return arraymap_remove(&lists->map, action->name, action->index);
    case DELETE: return lists_delete(lists, action->name, action->text);
    case GET: return print_value(&lists->map, action->name, action->index);
    case LIST: return print_list(&lists->map, action->name, false);
    default: arraymap_dump(&lists->map, stdout); return 0;
    }
}

static int report_failure(const struct action *action, int result)
{
    if (result == ENOMEM) {
        return complain(action->name, textmaps_error_text(result));
    }
    fprintf(stderr, "%s %s", verbs[action->verb].option, action->name);
    if (verbs[action->verb].index) {
        fprintf(stderr, " %" PRIu32, action->index);
    }
    if (result == ENOENT) {
        fputs(": not found", stderr);
    } else {
        fprintf(stderr, ": %s: ", mismatch(action->name));
        print_quoted(stderr, action->text);
    }
    fprintf(stderr, " (%d)\n", result);
    return EXIT_UNANSWERED;
}

static int perform_all(struct lists *lists, const struct options *options)
{
    int status = EXIT_SUCCESS;
    for (size_t i = 0; i < options->action_count; ++i) {
        const int result = perform(lists, &options->actions[i]);
        if (result != 0) {
            const int reported = report_failure(&options->actions[i], result);
            status = reported > status ? reported : status;
        }
    }
    return status;
}

static void show_routes(const arraymap_t *map)
{
    puts("Routes, in the order of the kernel");
    arraymap_key_iter_t keys = {0};
    for (const char *name = arraymap_key_first(map, &keys); name != NULL;
         name = arraymap_key_next(&keys)) {
        if (has_ending(name, ".routes")) {
            print_list(map, name, true);
        }
    }
}

/* The values before it move on by one index each, from the last to the first. */
static int move_to_front(arraymap_t *map, const char *name, uint32_t index)
{
    ipaddr_t moved;
    int result = arraymap_get_ipaddr(map, name, index, &moved);
    for (; result == 0 && index > 0; --index) {
        ipaddr_t before;
        result = arraymap_get_ipaddr(map, name, index - 1, &before);
        if (result == 0) {
            result = arraymap_replace_ipaddr(map, name, index, &before);
        }
    }
    return result == 0 ? arraymap_replace_ipaddr(map, name, 0, &moved) : result;
}

static int show_resolvers(struct lists *lists)
{
    static const char name[] = "resolvers";
    puts("Resolvers, and one more");
    int result = lists_append(lists, name, "2001:db8::53");
    if (result != 0) {
        return result;
    }
    print_list(&lists->map, name, true);
    puts("The last of them moved to the front");
    result = move_to_front(&lists->map, name, list_length(&lists->map, name) - 1);
    print_list(&lists->map, name, true);
    return result;
}

static void show_result(const char *operation, int result)
{
    printf("  %s: %d (%s)\n", operation, result, textmaps_error_text(result));
}

static void show_past_the_end(struct lists *lists, const char *name)
{
    arraymap_t *const map = &lists->map;
    const uint32_t index = list_length(map, name);
    ipaddr_t address;
    printf("Past the end of %s, at %" PRIu32 "\n", name, index);
    show_result("get", arraymap_get_ipaddr(map, name, index, &address));
    show_result("replace", lists_replace(lists, name, index, "192.0.2.53"));
    show_result("remove", arraymap_remove(map, name, index));
}

/* A walk over keys must not change them: it goes over a copy. */
static int delete_everywhere(arraymap_t *map, const char *event)
{
    arraymap_t before;
    int result = arraymap_init(&before);
    if (result != 0) {
        return result;
    }
    result = arraymap_copy(map, &before);
    printf("Every \"%s\" deleted\n", event);
    arraymap_key_iter_t keys = {0};
    for (const char *log = arraymap_key_first(&before, &keys); log != NULL;
         log = arraymap_key_next(&keys)) {
        if (has_ending(log, ".events") && arraymap_delete_str(map, log, event) == 0) {
            printf("  %s: %" PRIu32 " of %" PRIu32 " are left\n", log, list_length(map, log),
                   list_length(&before, log));
        }
    }
    arraymap_destroy(&before);
    return result;
}

static int show(struct lists *lists)
{
    show_routes(&lists->map);
    int result = show_resolvers(lists);
    if (result == 0) {
        show_past_the_end(lists, "resolvers");
        result = delete_everywhere(&lists->map, "link down");
    }
    if (result != 0) {
        return complain("network_lists", textmaps_error_text(result));
    }
    puts("Lists");
    arraymap_dump(&lists->map, stdout);
    return EXIT_SUCCESS;
}

static int print_summary_line(void *context, const char *format, ...)
{
    fputs(context, stderr);
    va_list arguments;
    va_start(arguments, format);
    const int written = vfprintf(stderr, format, arguments);
    va_end(arguments);
    return written;
}

static int load(struct lists *lists, const char *file)
{
    int result = read_machine(lists);
    if (result != 0) {
        return complain("facts of the machine", textmaps_error_text(result));
    }
    result = read_events(lists, file);
    if (result != 0) {
        return complain(file, strerror(result));
    }
    fprintf(stderr, "summary: lists=%" PRId32 " values=%" PRId32 "\n", lists->map.numkeys,
            lists->map.numvalues);
    if (!arraymap_isempty(&lists->discarded)) {
        char prefix[] = "summary: discarded";
        arraymap_print(&lists->discarded, print_summary_line, prefix);
    }
    return EXIT_SUCCESS;
}

static int run(const struct options *options)
{
    struct lists lists;
    const int result = lists_init(&lists, options->keep);
    if (result != 0) {
        return complain("network_lists", textmaps_error_text(result));
    }
    int status = load(&lists, options->file != NULL ? options->file : NETWORK_LISTS_EVENTS);
    if (status == EXIT_SUCCESS) {
        status = options->action_count > 0 ? perform_all(&lists, options) : show(&lists);
    }
    lists_destroy(&lists);
    return status;
}

int main(int argc, char **argv)
{
    struct options options = {.keep = EVENTS_KEPT};
    options.actions = calloc((size_t)argc + 1, sizeof *options.actions);
    if (options.actions == NULL) {
        return complain("network_lists", strerror(ENOMEM));
    }
    int status = EXIT_SUCCESS;
    if (!parse_options(argv + 1, &options)) {
        status = EXIT_TROUBLE;
    } else if (options.help) {
        fputs(usage, stdout);
    } else {
        status = run(&options);
    }
    free(options.actions);
    if (fflush(stdout) != 0 || ferror(stdout)) {
        status = complain("standard output", strerror(EIO));
    }
    return status;
}
