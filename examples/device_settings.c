/*
 * What a device's program does with its settings: reads them from a file, adds what the kernel says
 * about the machine, keeps all of it typed in a map, and answers questions from there.
 */
#include "device_settings.h"

#include <textmaps/error.h>

#include <errno.h>
#include <inttypes.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

enum { EXIT_UNANSWERED = 1, EXIT_TROUBLE = 2 };

static const char usage[] =
    "usage: device_settings [--get KEY TYPE]... [--no-machine] [FILE]\n"
    "\n"
    "Reads settings, one KEY=VALUE on each line, from FILE ('-' for standard input; without FILE\n"
    "from the sample, " DEVICE_SETTINGS_SAMPLE "),\n"
    "adds facts of this machine, and prints all of it.\n"
    "\n"
    "  --get KEY TYPE  print only this setting, read as the type: uint64, int64, uint32, int32,\n"
    "                  time, uint16, int16, uint8, int8, bool, uint, int, uchar, char, str,\n"
    "                  macaddr, ipaddr or cidr\n"
    "  --no-machine    leave the facts of this machine out\n"
    "  --help          print this text\n"
    "\n"
    "Exit status: 0; 1 if a --get could not be answered; 2 for wrong usage, a FILE that cannot be\n"
    "read, or lack of memory.\n";

struct query {
    const char *key;
    enum value_type type;
};

struct options {
    struct query *queries;
    size_t query_count;
    const char *file;
    bool machine;
    bool help;
};

static bool usage_error(const char *problem, const char *argument)
{
    fprintf(stderr, "device_settings: %s%s\n%s", problem, argument, usage);
    return false;
}

static bool add_query(struct options *options, const char *key, const char *type)
{
    if (key == NULL || type == NULL) {
        return usage_error("--get needs a key and a type", "");
    }
    struct query *const query = &options->queries[options->query_count++];
    query->key = key;
    query->type = type_named(type);
    return query->type != TYPE_COUNT || usage_error("no such type: ", type);
}

/* `arguments` ends with NULL, and `queries` has room for one query for each of them. */
static bool parse_options(char **arguments, struct options *options)
{
    for (; *arguments != NULL; ++arguments) {
        const char *const argument = *arguments;
        if (strcmp(argument, "--get") == 0) {
            if (!add_query(options, arguments[1], arguments[1] == NULL ? NULL : arguments[2])) {
                return false;
            }
            arguments += 2;
        } else if (strcmp(argument, "--no-machine") == 0) {
            options->machine = false;
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

static int print_summary_line(void *context, const char *format, ...)
{
    fputs(context, stderr);
    va_list arguments;
    va_start(arguments, format);
    const int written = vfprintf(stderr, format, arguments);
    va_end(arguments);
    return written;
}

static int answer(struct device *device, const struct query *query)
{
    const int result =
        copy_typed(query->type, &device->settings, query->key, &device->scratch, "value");
    switch (result) {
    case 0: printf("%s=%s\n", query->key, text_of(&device->scratch, "value")); return EXIT_SUCCESS;
    case ENOENT: fprintf(stderr, "%s: not found (%d)\n", query->key, result); break;
    case ENOMEM: return complain(query->key, textmaps_error_text(result));
    default:
        fprintf(stderr, "%s: ", query->key);
        print_mismatch(stderr, query->type, text_of(&device->settings, query->key), result);
    }
    return EXIT_UNANSWERED;
}

static int answer_all(struct device *device, const struct options *options)
{
    int status = EXIT_SUCCESS;
    for (size_t i = 0; i < options->query_count; ++i) {
        const int answered = answer(device, &options->queries[i]);
        status = answered > status ? answered : status;
    }
    return status;
}

static void show_result(const char *key, const char *type, int result)
{
    printf("  %s as %s: %d (%s)\n", key, type, result, textmaps_error_text(result));
}

/* Whether a read succeeded; if not, its result is shown. */
static bool succeeded(const char *key, const char *type, int result)
{
    if (result != 0) {
        show_result(key, type, result);
    }
    return result == 0;
}

static void show_reads(const map_t *settings)
{
    puts("Typed reads");
    uint16_t mtu;
    if (succeeded("lan.mtu", "uint16", map_get_uint16(settings, "lan.mtu", &mtu))) {
        printf("  lan.mtu as uint16: %" PRIu16 "\n", mtu);
    }
    int8_t txpower;
    if (succeeded("wifi.txpower", "int8", map_get_int8(settings, "wifi.txpower", &txpower))) {
        printf("  wifi.txpower as int8: %" PRId8 "\n", txpower);
    }
    bool enabled;
    if (succeeded("wan.enabled", "bool", map_get_bool(settings, "wan.enabled", &enabled))) {
        printf("  wan.enabled as bool: %s\n", enabled ? "yes" : "no");
    }
    int32_t lease;
    if (succeeded("dhcp.leasetime", "time", map_get_time(settings, "dhcp.leasetime", &lease))) {
        printf("  dhcp.leasetime as time: %" PRId32 " h\n", lease / 3600);
    }
    ipaddr_t gateway;
    if (succeeded("wan.gateway", "ipaddr", map_get_ipaddr(settings, "wan.gateway", &gateway))) {
        const bool resolves = map_cmp_ipaddr(settings, "resolver:0", &gateway) == 0;
        printf("  wan.gateway as ipaddr: is %sthe first resolver\n", resolves ? "" : "not ");
    }
}

static void show_failing_reads(const map_t *settings)
{
    puts("Reads of the wrong type or the wrong key");
    uint16_t number;
    ipaddr_t address;
    show_result("wifi.ssid", "uint16", map_get_uint16(settings, "wifi.ssid", &number));
    show_result("lan.cidr", "ipaddr", map_get_ipaddr(settings, "lan.cidr", &address));
    show_result("lan.mut", "uint16", map_get_uint16(settings, "lan.mut", &number));
}

static void show_resolvers(const map_t *settings)
{
    puts("Resolvers");
    int max;
    if (!succeeded("resolver", "array", map_array_get_max(settings, "resolver", &max))) {
        return;
    }
    for (int i = 0; i < max; ++i) {
        char key[sizeof "resolver:2147483647"];
        char address[46];
        int result = map_array_get_key(settings, "resolver", i, key, sizeof key, max);
        if (result == 0) {
            result = map_copy_str(settings, key, address, sizeof address);
        }
        if (succeeded("resolver", "array", result)) {
            printf("  %d: %s\n", i, address);
        }
    }
}

static int load(struct device *device, const struct options *options)
{
    const char *const file = options->file != NULL ? options->file : DEVICE_SETTINGS_SAMPLE;
    int result = read_file(device, file, take_setting);
    if (result != 0) {
        return complain(file, strerror(result));
    }
    if (options->machine) {
        result = machine_read(device);
    }
    return result != 0 ? complain("facts of the machine", textmaps_error_text(result))
                       : EXIT_SUCCESS;
}

static void show(const struct device *device)
{
    show_reads(&device->settings);
    show_failing_reads(&device->settings);
    show_resolvers(&device->settings);
    puts("Settings");
    map_dump(&device->settings, stdout);
}

static int run(const struct options *options)
{
    struct device device;
    const int result = device_init(&device);
    if (result != 0) {
        return complain("device_settings", textmaps_error_text(result));
    }
    int status = load(&device, options);
    if (status == EXIT_SUCCESS) {
        char prefix[] = "summary: ";
        map_print(&device.counters, print_summary_line, prefix);
        if (options->query_count > 0) {
            status = answer_all(&device, options);
        } else {
            show(&device);
        }
    }
    device_destroy(&device);
    return status;
}

int main(int argc, char **argv)
{
    struct options options = {.machine = true};
    options.queries = calloc((size_t)argc + 1, sizeof *options.queries);
    if (options.queries == NULL) {
        return complain("device_settings", strerror(ENOMEM));
    }
    int status = EXIT_SUCCESS;
    if (!parse_options(argv + 1, &options)) {
        status = EXIT_TROUBLE;
    } else if (options.help) {
        fputs(usage, stdout);
    } else {
        status = run(&options);
    }
    free(options.queries);
    if (fflush(stdout) != 0 || ferror(stdout)) {
        status = complain("standard output", strerror(EIO));
    }
    return status;
}
