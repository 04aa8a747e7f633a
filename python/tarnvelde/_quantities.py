"""Objects of a model and their variables, as attributes."""
from __future__ import annotations

import difflib
from typing import (TYPE_CHECKING, Any, Dict, Generic, Iterator, Mapping, MutableMapping, Optional, Type, TypeVar,
                    Union, cast, overload)

from ._header import NO_POLLUTANT, Access, ObjectClass, Relation, When

if TYPE_CHECKING:
    from .model import Model


class ModelObject:
    """An object of a model: its variables are attributes, as `tank.depth`.

    What the project file gives (parameters) can be read and mostly set while the model is open, all else in a run. What
    a step works out can be held: `pump.setting = 1.0` takes the pump away from its rules until
    `pump.release("setting")` or the end of the run. Pollutants have values by their IDs: `tank.concentration["TSS"]`.
    """

    __slots__ = ("_model", "_index", "_id")
    _class: ObjectClass

    def __init__(self, model: Model, index: int, identifier: str) -> None:
        self._model = model
        self._index = index
        self._id = identifier

    @property
    def id(self) -> str:
        """ID as the project file has it; empty for the system and for LID units."""
        return self._id

    @property
    def index(self) -> int:
        """Number in its class, from 0 on, in the order of the project file."""
        return self._index

    def release(self, name: str, pollutant: Optional[str] = None) -> None:
        """Lets go of a forcing, `name` being that of the forcing ("held_setting") or of what it holds ("setting")."""
        kind = type(self)
        forcing = name if name.startswith(("held_", "added_")) else "held_" + name
        quantity = getattr(kind, forcing, None)
        if not isinstance(quantity, (Quantity, PollutantQuantity)):
            raise self._unknown(name)
        self._model._release(self._class, quantity.name, self._index, pollutant)

    def balance(self, pollutant: Optional[str] = None) -> Dict[str, float]:
        """Balance of the run so far: initial, in, out, lost, stored, missing (m3, or kg of a pollutant) and error (%).
        Of subcatchments, LID units, nodes and links; pollutants of nodes and links where the model keeps loads."""
        return self._model._balance(self._class, self._index, pollutant)

    def quantities(self) -> Dict[str, Union[Quantity, PollutantQuantity]]:
        """The variables that this object has, by name, with unit, meaning, and when they can be set."""
        return dict(quantities_of(type(self)))

    def _unknown(self, name: str) -> AttributeError:
        names = list(quantities_of(type(self)))
        text = f'{type(self).__name__} {self._id} has no variable "{name}"'
        near = difflib.get_close_matches(name, names, 1)
        return AttributeError(text + (f': did you mean "{near[0]}"?' if near else ""))

    def __getattr__(self, name: str) -> Any:
        if name.startswith("_"):
            raise AttributeError(name)
        raise self._unknown(name)

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self._id}>" if self._id else f"<{type(self).__name__} {self._index}>"

    def __eq__(self, other: object) -> bool:
        return (isinstance(other, ModelObject) and self._model is other._model and self._class == other._class
                and self._index == other._index)

    def __hash__(self) -> int:
        return hash((id(self._model), self._class, self._index))


class Variable:
    """The description of a variable: name, unit, what it is (`access`), when it can be set (`when`), meaning."""

    _by = ""

    def __init__(self, name: str, unit: str, access: Access, when: When, meaning: str) -> None:
        self.name = name
        self.unit = unit
        self.access = access
        self.when = when
        self.meaning = meaning
        notes = [note for note in (unit, self._by) if note]
        self.__doc__ = f"{meaning} ({', '.join(notes)})" if notes else meaning

    def __repr__(self) -> str:
        return f"<{self.name}: {self.__doc__}>"


class Quantity(Variable):
    """A variable, as an attribute of its objects. On the class itself, `Tank.depth`, it gives name, unit, what it is
    (`access`), when it can be set (`when`) and its meaning."""

    @overload
    def __get__(self, instance: None, owner: Type[ModelObject]) -> Quantity: ...

    @overload
    def __get__(self, instance: ModelObject, owner: Type[ModelObject]) -> float: ...

    def __get__(self, instance: Optional[ModelObject], owner: Type[ModelObject]) -> Union[Quantity, float]:
        if instance is None:
            return self
        return instance._model._value(instance._class, self.name, instance._index, NO_POLLUTANT)

    def __set__(self, instance: ModelObject, value: float) -> None:
        name = target_of(type(instance), self)
        instance._model._assign(instance._class, name, instance._index, NO_POLLUTANT, value)


class PollutantQuantity(Variable):
    """A variable that has a value for each pollutant: on an object a mapping by the IDs of the pollutants."""

    _by = "by pollutant"

    @overload
    def __get__(self, instance: None, owner: Type[ModelObject]) -> PollutantQuantity: ...

    @overload
    def __get__(self, instance: ModelObject, owner: Type[ModelObject]) -> PollutantValues: ...

    def __get__(self, instance: Optional[ModelObject],
                owner: Type[ModelObject]) -> Union[PollutantQuantity, PollutantValues]:
        return self if instance is None else PollutantValues(instance, self.name)

    def __set__(self, instance: ModelObject, values: Mapping[str, float]) -> None:
        PollutantValues(instance, self.name).update(values)


class PollutantValues(MutableMapping[str, float]):
    """The values of an object's variable by pollutant."""

    def __init__(self, owner: ModelObject, name: str) -> None:
        self._owner = owner
        self._name = name

    def __getitem__(self, pollutant: str) -> float:
        owner = self._owner
        number = owner._model._pollutant(pollutant)
        return owner._model._value(owner._class, self._name, owner._index, number)

    def __setitem__(self, pollutant: str, value: float) -> None:
        owner = self._owner
        number = owner._model._pollutant(pollutant)
        owner._model._assign(owner._class, self._name, owner._index, number, value)

    def __delitem__(self, pollutant: str) -> None:
        """Lets go of a forcing."""
        self._owner._model._release(self._owner._class, self._name, self._owner._index, pollutant)

    def __iter__(self) -> Iterator[str]:
        return iter(self._owner._model.pollutants)

    def __len__(self) -> int:
        return len(self._owner._model.pollutants)

    def __repr__(self) -> str:
        return repr(dict(self))


T = TypeVar("T", bound=ModelObject)


class Related(Generic[T]):
    """Another object that an object is related to, as an attribute: None if there is none."""

    def __init__(self, relation: Relation, target: ObjectClass, meaning: str) -> None:
        self.relation = relation
        self.target = target
        self.__doc__ = self.meaning = meaning

    @overload
    def __get__(self, instance: None, owner: Type[ModelObject]) -> Related[T]: ...

    @overload
    def __get__(self, instance: ModelObject, owner: Type[ModelObject]) -> Optional[T]: ...

    def __get__(self, instance: Optional[ModelObject],
                owner: Type[ModelObject]) -> Union[Related[T], Optional[T]]:
        if instance is None:
            return self
        return cast(Optional[T], instance._model._related(self.relation, instance._index, self.target))

    def __set__(self, instance: ModelObject, value: object) -> None:
        raise AttributeError("connections between objects are given by the project file")


_known: Dict[Type[ModelObject], Dict[str, Union[Quantity, PollutantQuantity]]] = {}


def quantities_of(kind: Type[ModelObject]) -> Dict[str, Union[Quantity, PollutantQuantity]]:
    """The variables of a class of objects by name; not to be changed."""
    if kind in _known:
        return _known[kind]
    found: Dict[str, Union[Quantity, PollutantQuantity]] = {}
    for base in reversed(kind.__mro__):
        for value in vars(base).values():
            if isinstance(value, (Quantity, PollutantQuantity)):
                found[value.name] = value
    _known[kind] = found
    return found


def target_of(kind: Type[ModelObject], quantity: Quantity) -> str:
    """What is set by an assignment: the quantity itself, or, of what a step works out, the forcing that holds it."""
    if quantity.access != Access.PARAMETER:
        forcing = getattr(kind, "held_" + quantity.name, None)
        if isinstance(forcing, Quantity):
            return forcing.name
    return quantity.name
