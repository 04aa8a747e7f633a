"""Results of many members as one dataset, member by member: one of them is in memory at once."""
from __future__ import annotations

import os
import shutil
from pathlib import Path
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Optional, Sequence, Tuple

import numpy as np
from numpy.typing import NDArray

from ._netcdf import UNITS
from ._places import PathLike
from .errors import UnknownError

if TYPE_CHECKING:
    from .ensemble import Ensemble
    from .results import Results

_MEMBER = {"long_name": "member of the ensemble", "cf_role": "timeseries_id", "standard_name": "realization"}


def _import(what: str, *names: str) -> List[Any]:
    """Modules that something needs."""
    import importlib

    found = []
    for name in names:
        try:
            found.append(importlib.import_module(name))
        except ImportError:
            packages = " ".join(f"python3-{name.split('.')[0].lower()}" for name in names)
            raise ImportError(f"{what} needs {' and '.join(names)} (Debian: {packages})") from None
    return found


def _chosen(ensemble: Ensemble, members: Optional[Sequence[str]]) -> List[str]:
    """The members that are wanted. UnknownError for one that isn't done, or if there are none."""
    done = ensemble.done
    if members is None:
        if not done:
            raise UnknownError("no member is done")
        return done
    for name in members:
        ensemble.member_folder(name)
    if not members:
        raise UnknownError("no members are wanted")
    return list(members)


class _Shape:
    """What all members have in common: the variables of one dataset, and the longest of all times."""

    def __init__(self, ensemble: Ensemble, names: Sequence[str], variables: Optional[Sequence[str]]) -> None:
        self.ensemble = ensemble
        self.names = list(names)
        self.variables = variables
        self.longest = self._longest()
        self.first = self._read(self.longest)
        self.times = self.first["time"].values

    def _longest(self) -> str:
        """The member with the most reports."""
        counts = {}
        for name in self.names:
            with self.ensemble.results(name) as results:
                counts[name] = len(results.times)
        return max(self.names, key=lambda name: counts[name])

    def _read(self, name: str) -> Any:
        with self.ensemble.results(name) as results:
            dataset = results.to_xarray()
        if self.variables is None:
            return dataset
        unknown = [variable for variable in self.variables if variable not in dataset.data_vars]
        if unknown:
            raise UnknownError(f'results have no variable "{unknown[0]}"; there are {", ".join(dataset.data_vars)}')
        return dataset[list(self.variables)]

    def read(self, name: str) -> Dict[str, NDArray[Any]]:
        """Values of a member by variable, filled up with nan to the longest of all times. ValueError for a member with
        other objects, variables or times."""
        dataset = self.first if name == self.longest else self._read(name)
        times = dataset["time"].values
        if not np.array_equal(times, self.times[:len(times)]):
            raise ValueError(f"member {name} reports at other times than {self.longest}")
        for place in set(self.first.coords) | set(dataset.coords) - {"time"}:
            if place != "time" and (place not in dataset.coords or place not in self.first.coords
                                    or not np.array_equal(dataset[place].values, self.first[place].values)):
                raise ValueError(f"member {name} has another {place} than {self.longest}")
        values = {}
        for variable in self.first.data_vars:
            if variable not in dataset.data_vars:
                raise ValueError(f"member {name} has no {variable}")
            values[str(variable)] = self._filled(dataset[variable].values)
        return values

    def _filled(self, values: NDArray[Any]) -> NDArray[Any]:
        missing = len(self.times) - len(values)
        if not missing:
            return values
        return np.concatenate([values, np.full((missing, *values.shape[1:]), np.nan, values.dtype)])

    def attributes(self) -> Dict[str, Any]:
        """Those of the whole dataset."""
        return {**self.first.attrs, "title": f"Results of an ensemble of {len(self.names)} members"}

    def begin(self) -> Any:
        """The dataset of the first member, with the dimension of members ahead."""
        import xarray

        values = self.read(self.names[0])
        variables = {name: (("member", *self.first[name].dims), values[name][np.newaxis], self.first[name].attrs)
                     for name in values}
        coordinates = {name: (found.dims, found.values.astype(object) if found.dtype.kind == "U" else found.values,
                              found.attrs) for name, found in self.first.coords.items()}
        names = np.array(self.names[:1], dtype=object)
        return xarray.Dataset(variables, {"member": ("member", names, _MEMBER), **coordinates}, self.attributes())


def _write_aside(path: PathLike, write: Callable[[str], None]) -> None:
    """Writes a file or a folder aside, and puts it in place when it is whole."""
    target = os.fspath(path)
    aside = f"{target}.part"
    _remove(aside)
    try:
        write(aside)
        if os.path.isdir(target) and not os.path.islink(target):
            if not os.path.exists(os.path.join(target, ".zgroup")) and os.listdir(target):
                raise FileExistsError(f"{target} is a folder that holds something else")
            _remove(target)
        os.replace(aside, target)
    except BaseException:
        _remove(aside)
        raise


def _remove(path: str) -> None:
    if os.path.isdir(path):
        shutil.rmtree(path)
    elif os.path.lexists(path):
        os.unlink(path)


def write_zarr(ensemble: Ensemble, path: PathLike, members: Optional[Sequence[str]],
               variables: Optional[Sequence[str]]) -> None:
    """Ensemble.to_zarr."""
    _, zarr = _import("a dataset after Zarr", "xarray", "zarr")
    shape = _Shape(ensemble, _chosen(ensemble, members), variables)

    def write(aside: str) -> None:
        shape.begin().to_zarr(aside, mode="w", consolidated=False)
        group = zarr.open_group(aside, mode="r+")
        for name in [*shape.first.data_vars, "member"]:
            group[name].resize(len(shape.names), *group[name].shape[1:])
        group["member"][:] = np.array(shape.names, dtype=object)
        for number, name in enumerate(shape.names[1:], 1):
            for variable, values in shape.read(name).items():
                group[variable][number] = values
        zarr.consolidate_metadata(aside)

    _write_aside(path, write)


def write_netcdf(ensemble: Ensemble, path: PathLike, members: Optional[Sequence[str]],
                 variables: Optional[Sequence[str]]) -> None:
    """Ensemble.to_netcdf."""
    _, netcdf = _import("a NetCDF file", "xarray", "netCDF4")
    shape = _Shape(ensemble, _chosen(ensemble, members), variables)

    def write(aside: str) -> None:
        shape.begin().to_netcdf(aside, format="NETCDF4", engine="netcdf4", unlimited_dims=["member"])
        with netcdf.Dataset(aside, "a") as file:
            file.set_auto_mask(False)
            for number, name in enumerate(shape.names[1:], 1):
                file["member"][number] = name
                for variable, values in shape.read(name).items():
                    file[variable][number] = values

    _write_aside(path, write)


def write_parquet(ensemble: Ensemble, path: PathLike, word: str, members: Optional[Sequence[str]]) -> None:
    """Ensemble.to_parquet."""
    arrow, parquet = _import("a Parquet file", "pyarrow", "pyarrow.parquet")
    names = _chosen(ensemble, members)

    def write(aside: str) -> None:
        writer: Any = None
        try:
            for name in names:
                frame, units = _long_frame(ensemble, word, name)
                schema = None if writer is None else writer.schema
                table = arrow.Table.from_pandas(frame, schema=schema, preserve_index=False)
                if writer is None:
                    table = table.replace_schema_metadata({**(table.schema.metadata or {}), "units": repr(units)})
                    writer = parquet.ParquetWriter(aside, table.schema)
                writer.write_table(table)
        finally:
            if writer is not None:
                writer.close()

    _write_aside(path, write)


def _long_frame(ensemble: Ensemble, word: str, name: str) -> Tuple[Any, Dict[str, str]]:
    """Results of a class of objects of one member: a row for each time and object."""
    with ensemble.results(name) as results:
        long, units = long_frame(results, word)
    long.insert(0, "member", name)
    return long, units


def long_frame(results: Results, word: str) -> Tuple[Any, Dict[str, str]]:
    """Results of a class of objects, a row for each time and object, and the units of its columns."""
    import pandas as pd

    owners: Any = getattr(results, word) if word in ("nodes", "links", "subcatchments") else None
    if owners is None:
        raise UnknownError(f'results are of nodes, links or subcatchments, not of "{word}"')
    units: Dict[str, str] = {}
    columns = {}
    for wanted in owners:
        title = wanted if isinstance(wanted, str) else f"{wanted[0]}[{wanted[1]}]"
        frame = owners[wanted].reindex(columns=owners.ids)
        columns[title] = frame.to_numpy(np.float32).ravel()
        units[title] = UNITS[frame.attrs.get("unit", "")] if frame.attrs else UNITS[owners[wanted].attrs["unit"]]
    count = len(owners.ids)
    long = pd.DataFrame({"time": np.repeat(np.asarray(results.times), count),
                         "id": np.tile(np.array(owners.ids, dtype=object), len(results.times)), **columns})
    return long, units


def write_parquet_of_one(results: Results, path: PathLike, word: str) -> None:
    """Results.to_parquet."""
    arrow, parquet = _import("a Parquet file", "pyarrow", "pyarrow.parquet")
    frame, units = long_frame(results, word)

    def write(aside: str) -> None:
        table = arrow.Table.from_pandas(frame, schema=None, preserve_index=False)
        table = table.replace_schema_metadata({**(table.schema.metadata or {}), "units": repr(units)})
        with parquet.ParquetWriter(aside, table.schema) as writer:
            writer.write_table(table)

    _write_aside(path, write)


def lazy_dataset(ensemble: Ensemble, members: Optional[Sequence[str]]) -> Any:
    """Ensemble.to_xarray."""
    xarray, dask, array = _import("a dataset of an ensemble", "xarray", "dask", "dask.array")
    shape = _Shape(ensemble, _chosen(ensemble, members), None)
    first = shape.begin()
    variables = {}
    blocks: Dict[str, List[Any]] = {str(name): [] for name in shape.first.data_vars}
    folder = Path(ensemble.folder).absolute()
    for name in shape.names:
        values = dask.delayed(_read_member, pure=True)(str(folder), name, shape.longest)
        for variable, found in blocks.items():
            one = shape.first[variable]
            found.append(array.from_delayed(values[variable], one.shape, one.dtype))
    for variable, found in blocks.items():
        variables[variable] = (first[variable].dims, array.stack(found), first[variable].attrs)
    coordinates = {name: (found.dims, found.values, found.attrs) for name, found in first.coords.items()
                   if name != "member"}
    names = np.array(shape.names, dtype=object)
    return xarray.Dataset(variables, {"member": ("member", names, _MEMBER), **coordinates}, first.attrs)


def _read_member(folder: str, name: str, longest: str) -> Dict[str, NDArray[Any]]:
    """Values of one member, read when they are asked for."""
    from .ensemble import Ensemble

    ensemble = Ensemble(folder)
    return _Shape(ensemble, list(dict.fromkeys([longest, name])), None).read(name)
