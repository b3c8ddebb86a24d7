#pragma once
// Reaches a private data member of a class under test: to see, or bring about, a state that no call
// of the class leads to. Any thread.
//
//     struct Counter { using Type = int Machine::*; friend Type memberOf(Counter); };
//     template struct PrivateMember<Counter, &Machine::m_counter>;
//     machine.*memberOf(Counter()) = 7;

/// To be instantiated explicitly: only there may a private name be spelt out.
template <typename Tag, typename Tag::Type Member>
struct PrivateMember {
    friend typename Tag::Type memberOf(Tag /*tag*/) { return Member; }
};
