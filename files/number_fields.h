// Numbers read out of a text and written into one, in the few forms that dates need.
#pragma once

#include <initializer_list>

// Reads decimal numbers as sscanf would with "%d" for each field and the separators between them: blanks before a
// number and a sign are accepted, a blank in `szSeparators` stands for any number of blanks or none. Stops at the first
// thing that does not fit; the fields not reached keep their values. A number past int's range is int's limit.
void LReadNumberFields(char const* szText, char const* szSeparators, std::initializer_list<int*> lFields) noexcept;

// Writes the number as "%.*d" would and returns the end, where nothing is written yet. `nDigits` is at most 10; at most
// 11 characters are written.
char* LWriteNumber(char* pOut, int nNumber, int nDigits) noexcept;

// Takes one more decimal digit into a number; past int's range the number stays at the limit.
int LAppendDigit(int nNumber, char cDigit) noexcept;
