// Without message catalogues std::messages has no members to define, and there is no <libintl.h>.
