/* Reading text by lines, and quoting what was read: shared by the example programs. */
#ifndef LINES_H
#define LINES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

/** A file on its way, at one of its lines. Whoever takes the line may write into the text. */
struct line {
    const char *file;     /**< Its name in reports. */
    unsigned long number; /**< From 1. */
    char *text;           /**< Without the newline. */
    size_t length;        /**< Of the text; more than `strlen` if there is a NUL byte in it. */
    size_t capacity;      /**< Of the text's memory. */
    FILE *stream;
};

/**
 * Opens a file, before its first line.
 *
 * @param file  A path, or "-" for the standard input.
 * @return 0; `errno` if it cannot be opened, and there is nothing to close.
 */
int line_open(struct line *line, const char *file);

/**
 * Goes on to the next line.
 *
 * @param result  Receives `errno` if the stream failed; else it is untouched.
 * @return Whether there is one.
 */
bool line_next(struct line *line, int *result);

void line_close(struct line *line);

/** Removes the white space around a text, in place. */
char *trimmed(char *text);

/**
 * Prints a text in quotes; of a long one only the beginning. What no terminal should take for a
 * command is escaped.
 */
void print_quoted(FILE *stream, const char *text);

#endif
