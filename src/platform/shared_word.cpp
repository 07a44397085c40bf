#include "platform/shared_word.h"

bool exchangeWord(unsigned int *word, unsigned int expected, unsigned int value) {
    return exchangeWord<unsigned int>(word, expected, value);
}

void replaceWord(unsigned int *word, unsigned int value) {
    unsigned int former;
    do {
        former = loadWord(word);
    } while (!exchangeWord(word, former, value));
}
