#include "lines.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

enum { QUOTED_LENGTH = 60 };

int line_open(struct line *line, const char *file)
{
    *line = (struct line){.file = file};
    if (strcmp(file, "-") == 0) {
        line->file = "<stdin>";
        line->stream = stdin;
        return 0;
    }
    line->stream = fopen(file, "r");
    return line->stream == NULL ? errno : 0;
}

bool line_next(struct line *line, int *result)
{
    const ssize_t length = getline(&line->text, &line->capacity, line->stream);
    if (length < 0) {
        if (!feof(line->stream)) {
            *result = errno;
        }
        return false;
    }
    line->length = (size_t)length;
    if (line->text[line->length - 1] == '\n') {
        line->text[--line->length] = '\0';
    }
    ++line->number;
    return true;
}

void line_close(struct line *line)
{
    free(line->text);
    if (line->stream != stdin) {
        fclose(line->stream);
    }
}

char *trimmed(char *text)
{
    while (isspace((unsigned char)*text)) {
        ++text;
    }
    char *end = text + strlen(text);
    while (end > text && isspace((unsigned char)end[-1])) {
        --end;
    }
    *end = '\0';
    return text;
}

void print_quoted(FILE *stream, const char *text)
{
    fputc('"', stream);
    const char *end = text;
    for (; *end != '\0' && end - text < QUOTED_LENGTH; ++end) {
        const unsigned char byte = (unsigned char)*end;
        fprintf(stream, isprint(byte) && byte != '"' && byte != '\\' ? "%c" : "\\x%02x", byte);
    }
    fputs(*end == '\0' ? "\"" : "\"...", stream);
}
