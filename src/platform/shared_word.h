// The one way to touch a word that two threads share.
//
// The word keeps its plain type, so that C hosts see an ordinary variable; a store is one
// instruction, and what was written before it is seen by whoever reads the new value.
#pragma once

template <typename Word> inline Word loadWord(const Word *word) {
    Word value;
    __atomic_load(word, &value, __ATOMIC_ACQUIRE);
    return value;
}

template <typename Word> struct SameWord { using Type = Word; };

template <typename Word> inline void storeWord(Word *word, typename SameWord<Word>::Type value) {
    __atomic_store(word, &value, __ATOMIC_RELEASE);
}

/**
 * Store @p value only if the word holds @p expected; true when it did.
 *
 * exchangeWord(word, value, value) asks whether the word still holds a value after stores to other
 * words. A load would not do: the processor may load before it stores.
 */
template <typename Word>
inline bool exchangeWord(Word *word, typename SameWord<Word>::Type expected,
                         typename SameWord<Word>::Type value) {
    return __atomic_compare_exchange(word, &expected, &value, false, __ATOMIC_ACQ_REL,
                                     __ATOMIC_ACQUIRE);
}

bool exchangeWord(unsigned int *word, unsigned int expected, unsigned int value);

/// Store @p value by an exchange, so that it comes either before whoever asks for the former value
/// as above, and fails, or after all that he has stored.
void replaceWord(unsigned int *word, unsigned int value);

inline bool exchangeWord(int *word, int expected, int value) {
    return exchangeWord(reinterpret_cast<unsigned int *>(word), static_cast<unsigned int>(expected),
                        static_cast<unsigned int>(value));
}

inline void replaceWord(int *word, int value) {
    replaceWord(reinterpret_cast<unsigned int *>(word), static_cast<unsigned int>(value));
}
