"""Marker words: each stands on the screen in one state alone, and is looked for afterwards."""

_BEGINNINGS = "bel dor fal gan hul jor kel lam mer nav pol rus sel tav vel zor".split()
_MIDDLES = "ba di fo ga ke lu ma ni po ra sa tu va zi".split()
_ENDS = "dan fer gon kar lin mond nak pert ros tam vard zen".split()


class Words:
    """Ten letters or so, pronounceable, never twice. Seeded, so that each run shows the same."""

    def __init__(self, chance):
        self._chance = chance
        self._given = set()

    def next(self):
        while True:
            word = "".join(map(self._chance.choice, (_BEGINNINGS, _MIDDLES, _MIDDLES, _ENDS)))
            if word not in self._given:
                self._given.add(word)
                return word
