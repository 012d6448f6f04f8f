"""Argument checks and element-wise evaluation shared by the binding's modules."""
import ctypes

import numpy as np


def check_real(name, value, low=None, high=None):
    """float64 array of value; ValueError for NaN, infinity, values beyond single precision (the
    library takes float) or values outside [low, high]."""
    try:
        array = np.asarray(value, dtype=np.float64)
    except (TypeError, ValueError) as err:
        raise ValueError(f"{name} must be a real number or an array of them") from err
    if not np.all(np.isfinite(array)):
        raise ValueError(f"{name} must be finite (got NaN or infinity)")
    if np.any(np.abs(array) > np.finfo(np.float32).max):
        raise ValueError(f"{name} must be finite in single precision (|value| <= 3.4e38)")
    if (low is not None and np.any(array < low)) or (high is not None and np.any(array > high)):
        raise ValueError(f"{name} must lie within [{low}, {high}]")
    return array


def check_integer(name, value, low, high):
    """int64 array of value; ValueError for non-integers or values outside [low, high]."""
    array = np.asarray(value)
    if array.dtype.kind not in "iub":
        if array.dtype.kind != "f" or not np.all(np.isfinite(array)) or np.any(array != np.round(array)):
            raise ValueError(f"{name} must hold whole numbers")
    array = array.astype(np.int64)
    if np.any(array < low) or np.any(array > high):
        raise ValueError(f"{name} must lie within [{low}, {high}]")
    return array


def check_table(name, table, dtype, lengths):
    """table as a C-contiguous array of dtype (no copy when it already is one) of an accepted length."""
    array = np.asarray(table)
    if array.ndim != 1 or array.size not in lengths:
        raise ValueError(f"{name} must be a 1-D array of {' or '.join(map(str, lengths))} entries, "
                         f"got shape {array.shape}")
    info = np.iinfo(dtype)
    if array.dtype != dtype:
        array = check_integer(name, array, info.min, info.max)
    return np.ascontiguousarray(array, dtype=dtype)


def buffer(name, array, ctype, count, writable=False):
    """ctypes pointer to an array of which a library call reads (or, writable, writes) count elements.

    Every array the binding hands to the library goes through here, with the number of elements the
    called function touches: the length fields of records, the length arguments and the lengths the
    functions imply (an 8192-entry NUC table, width x height pixels). The array must be a C-contiguous
    NumPy array of exactly the C element type and hold at least count elements, so no length or count
    passed beside it can make the library read or write past its end. ValueError names the argument.
    """
    dtype = np.dtype(ctype)
    if not isinstance(array, np.ndarray) or array.dtype != dtype or not array.flags.c_contiguous:
        raise ValueError(f"{name} must be a C-contiguous {dtype} array")
    count = int(count)
    if count < 0 or array.size < count:
        raise ValueError(f"{name} holds {array.size} entries; the call uses {count}")
    if writable and not array.flags.writeable:
        raise ValueError(f"{name} must be a writable array")
    return array.ctypes.data_as(ctypes.POINTER(ctype))


def elementwise(function, dtype, *inputs):
    """Applies function(*scalars) to broadcast inputs, once per distinct combination of values.

    The library's per-value functions are pure, so evaluating each distinct input once and
    scattering the results gives exactly the per-element results. A 640 x 512 frame of 14-bit
    values needs at most 16384 calls, however many pixels it has. Scalars in give a scalar out.
    """
    inputs = [np.asarray(x) for x in inputs]
    shape = np.broadcast_shapes(*(x.shape for x in inputs))
    varying = [i for i, x in enumerate(inputs) if x.size > 1]
    fixed = [x.reshape(-1)[0].item() if x.size == 1 else None for x in inputs]
    if not varying:
        value = np.asarray(function(*fixed), dtype=dtype)
        return value.item() if shape == () else np.full(shape, value, dtype=dtype)
    columns = [np.broadcast_to(inputs[i], shape).ravel() for i in varying]
    if len(columns) == 1:
        distinct, inverse = np.unique(columns[0], return_inverse=True)
        rows = ((value,) for value in distinct.tolist())
    else:
        stacked = np.stack([c.astype(np.float64) for c in columns], axis=1)
        distinct, inverse = np.unique(stacked, axis=0, return_inverse=True)
        rows = (tuple(row) for row in distinct.tolist())

    def evaluate(row):
        args = list(fixed)
        for i, value in zip(varying, row):
            args[i] = value
        return function(*args)

    results = np.fromiter((evaluate(row) for row in rows), dtype=dtype, count=len(distinct))
    return results[inverse.reshape(-1)].reshape(shape)
