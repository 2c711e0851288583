// Record fields bound to their value parsers, one handler per key of a section table.
#pragma once

#include "config/parameter.h"
#include "config/values.h"

using KeyHandler = int (*)(cfgLine*, parameter*);

template <auto Field>
int text(cfgLine* l, parameter* p) {
  return parseParameterString(l->key, l->key, l->value, p->*Field, l);
}
template <int parameter::*Field>
int integer(cfgLine* l, parameter* p) {
  return parseParameterInteger(l->key, l->key, l->value, &(p->*Field), l);
}
template <int parameter::*Field>
int signedInteger(cfgLine* l, parameter* p) {
  return parseParameterIntegerS(l->key, l->key, l->value, &(p->*Field), l);
}
template <int parameter::*Field>
int integerSymbol(cfgLine* l, parameter* p) {
  return parseParameterIntegerSymbol(l->key, l->key, l->value, &(p->*Field), l);
}
template <int parameter::*Field>
int quotedSymbol(cfgLine* l, parameter* p) {
  return parseParameterSymbolS(l->key, l->key, l->value, &(p->*Field), l);
}
