/* conio.h: single keys from the terminal, without echo and without waiting for the end of a line. */
#ifndef TOLVANE_PLATFORM_CONIO_H
#define TOLVANE_PLATFORM_CONIO_H

#ifdef __cplusplus
extern "C" {
#endif

/* Nonzero when _getch would not wait. */
int _kbhit(void);

/* The next key; arrows and other extended keys arrive as 0xE0 or 0 and then a code. -1 when no more can come.
 */
int _getch(void);

#ifdef __cplusplus
}
#endif
#endif
