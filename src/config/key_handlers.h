// Record fields bound to their value parsers, one rule per key of a section table.
#pragma once

#include "config/key_catalogue.h"
#include "config/parameter.h"
#include "config/values.h"

// A key's parser together with the kind of value it takes, so that a table of rules can also
// describe itself.
template <class Record>
struct KeyRule {
  ValueKind kind;
  int (*parse)(cfgLine*, Record*);
  int operator()(cfgLine* l, Record* r) const { return parse(l, r); }
};
using KeyHandler = KeyRule<parameter>;

template <auto Field>
int parseTextField(cfgLine* l, parameter* p) {
  return parseParameterString(l->key.c_str(), l->key.c_str(), l->value.c_str(), p->*Field, l);
}
template <int parameter::*Field>
int parseIntegerField(cfgLine* l, parameter* p) {
  return parseParameterInteger(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(p->*Field), l);
}
template <int parameter::*Field>
int parseSignedIntegerField(cfgLine* l, parameter* p) {
  return parseParameterIntegerS(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(p->*Field), l);
}
template <int parameter::*Field>
int parseIntegerSymbolField(cfgLine* l, parameter* p) {
  return parseParameterIntegerSymbol(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(p->*Field),
                                     l);
}
template <int parameter::*Field>
int parseQuotedSymbolField(cfgLine* l, parameter* p) {
  return parseParameterSymbolS(l->key.c_str(), l->key.c_str(), l->value.c_str(), &(p->*Field), l);
}

template <auto Field>
inline constexpr KeyHandler text{ValueKind::kText, parseTextField<Field>};
template <int parameter::*Field>
inline constexpr KeyHandler integer{ValueKind::kInteger, parseIntegerField<Field>};
template <int parameter::*Field>
inline constexpr KeyHandler signedInteger{ValueKind::kSignedInteger,
                                          parseSignedIntegerField<Field>};
template <int parameter::*Field>
inline constexpr KeyHandler integerSymbol{ValueKind::kIntegerOrSymbol,
                                          parseIntegerSymbolField<Field>};
template <int parameter::*Field>
inline constexpr KeyHandler quotedSymbol{ValueKind::kQuotedSymbol, parseQuotedSymbolField<Field>};
