"""Parameters of components: what there is, and a component's own as a mapping."""

from __future__ import annotations

import difflib
from collections.abc import Iterable, Iterator, MutableMapping
from ctypes import byref, c_double, c_int64
from functools import lru_cache
from typing import Any, NamedTuple, Union

from ._formats import choose
from ._library import BAYER, TRUESENSE, Component, Family, check, helpers

Number = Union[int, float]


class Parameter(NamedTuple):
    """What a parameter is for."""

    default: Number  #: its type is that of the parameter, int or float
    range: str  #: the values that make sense
    unit: str  #: "" for switches and counts
    meaning: str
    methods: tuple[str, ...]  #: those that read it


@lru_cache(maxsize=None)
def _table(family: Family) -> dict[str, Parameter]:
    table = {}
    for index in range(helpers.OrvParam_InfoCount(family.number)):
        info = helpers.OrvParam_InfoAt(family.number, index).contents
        default = info.standard if info.type == 2 else int(info.standard)
        methods = tuple(word for word, number in family.methods.items() if info.algorithms >> number & 1)
        table[info.name.decode()] = Parameter(
            default, info.range.decode(), info.unit.decode(), info.meaning.decode(), methods
        )
    return table


def parameters(family: str = "TrueSense") -> dict[str, Parameter]:
    """All parameters of "TrueSense" or "Bayer" conversions by name, in the library's order."""
    choose("family", family, ("TrueSense", "Bayer"))
    return dict(_table(BAYER if family == "Bayer" else TRUESENSE))


def check_names(family: Family, names: Iterable[str]) -> None:
    """Raises TypeError for keyword arguments that are no parameters."""
    for name in names:
        if name not in _table(family):
            raise TypeError(_unknown(family, name))


def _unknown(family: Family, name: str) -> str:
    close = difflib.get_close_matches(str(name), _table(family), 1, 0.5)
    return f"{name!r} is no {family.name} parameter" + (f"; did you mean {close[0]}?" if close else "")


class ComponentParameters(MutableMapping[str, Number]):
    """A component's parameters by name. Writes take effect with the next frame.

    Raises KeyError for unknown names, and OrvError for values out of range.
    """

    def __init__(self, component: Component) -> None:
        self._component = component
        self._table = _table(component.family)

    def __getitem__(self, name: str) -> Number:
        value: Any = c_double() if self._is_float(name) else c_int64()
        get = helpers.OrvParam_GetFloat if self._is_float(name) else helpers.OrvParam_GetInteger
        with self._component.lock:
            check(name, get(self._component.view, name.encode(), byref(value)))
        return value.value

    def __setitem__(self, name: str, value: Number) -> None:
        action = f"{name}={value!r} (range: {self._table[name].range if name in self._table else ''})"
        set_ = helpers.OrvParam_SetFloat if self._is_float(name) else helpers.OrvParam_SetInteger
        with self._component.lock:
            check(action, set_(self._component.view, name.encode(), value))

    def __delitem__(self, name: str) -> None:
        raise TypeError("parameters cannot be removed; set their default")

    def __iter__(self) -> Iterator[str]:
        return iter(self._table)

    def __len__(self) -> int:
        return len(self._table)

    def __repr__(self) -> str:
        return repr(dict(self))

    def _is_float(self, name: str) -> bool:
        if name not in self._table:
            raise KeyError(_unknown(self._component.family, name))
        return isinstance(self._table[name].default, float)
