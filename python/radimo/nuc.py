"""NUC tables and the KT/BT drift correction.

NUC value: the sensor response, 0..16383. NUC table: temperatures in 1/16 K
indexed by NUC value / 2 (8192 entries) or by the NUC value (16384 entries).
KT/BT: per focal-plane-temperature gain (Q14) and offset arrays, selected by
the index computed from the focal-plane reading vtemp.
"""
from ctypes import byref, c_float, c_int16, c_int32, c_uint16
from dataclasses import dataclass, field

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer, check_real, check_table, elementwise
from ._lib import call

TABLE_LENGTHS = (8192, 16384)
KTBT_LENGTHS = (1201, 3601)


def nuc_table_array(table):
    """A NUC table as a C-contiguous uint16 array of 8192 or 16384 entries."""
    return check_table("nuc_table", table, np.uint16, TABLE_LENGTHS)


def generate_nuc_table(c0, c1, c2, gain="high"):
    """8192-entry NUC table of the quadratic factor NUC(T) = c0 + (c2 T^2 + c1 T) / 2^20, T in K.

    gain "high" covers 253 K .. 423 K, "low" 273 K .. 823 K.
    """
    functions = {"high": "generate_high_gain_nuc_t", "low": "generate_low_gain_nuc_t"}
    if gain not in functions:
        raise ValueError('gain must be "high" or "low"')
    c0, c1, c2 = (int(v) for v in check_integer("nuc factor", (c0, c1, c2), -2**31, 2**31 - 1))
    table = np.zeros(8192, dtype=np.uint16)
    call(functions[gain], byref(R.nuc_factor_t(c0, c1, c2)), buffer("table", table, c_uint16, 8192, True))
    return table


def nuc_to_celsius(nuc_table, nuc):
    """Temperature (degC, float32) of NUC values 0..16383 looked up in a table."""
    table = nuc_table_array(nuc_table)
    nuc = check_integer("nuc", nuc, 0, 16383)
    table_ptr, out = buffer("nuc_table", table, c_uint16, table.size), c_float()

    def one(value):
        call("calc_temperature_with_nuc_t_table_len", table_ptr, value, table.size, byref(out))
        return out.value

    return elementwise(one, np.float32, nuc)


def celsius_to_nuc(nuc_table, celsius):
    """NUC value of the table entry nearest to each temperature (degC), clamped into the table."""
    table = nuc_table_array(nuc_table)
    celsius = check_real("celsius", celsius, -273.15)
    table_ptr, out = buffer("nuc_table", table, c_uint16, table.size), c_uint16()

    def one(value):
        call("reverse_calc_NUC_with_nuc_t_table_len", table_ptr, table.size, byref(out), value)
        return out.value

    return elementwise(one, np.uint16, celsius)


@dataclass
class KtBt:
    """The focal-plane drift correction of a camera.

    K_Temp, B_Temp and Address_CA map a focal-plane reading vtemp onto the index of the arrays
    (index() gives it); kt (Q14 gains) and bt (NUC offsets) hold 1201 entries, or 3601 for the
    version-3 correction (the recalibrations take 1201-entry arrays).
    """
    K_Temp: int
    B_Temp: int
    Address_CA: int
    kt: np.ndarray = field(repr=False)
    bt: np.ndarray = field(repr=False)

    def __setattr__(self, name, value):
        # Every assignment is checked, the constructor's and a later one alike.
        check = _FIELD_CHECKS.get(name)
        super().__setattr__(name, value if check is None else check(value))

    def __post_init__(self):
        self.arrays()

    def arrays(self):
        """(length, kt pointer, bt pointer): the two arrays, checked to be of one length."""
        n = self.kt.size
        if self.bt.size != n:
            raise ValueError(f"kt and bt must be of one length, got {n} and {self.bt.size} entries")
        return n, buffer("kt", self.kt, c_uint16, n), buffer("bt", self.bt, c_int16, n)

    @property
    def version3(self):
        """True for 3601-entry arrays, corrected by the version-3 functions."""
        return self.kt.size == 3601

    def _record(self, vtemp):
        # The correction reads the entry at the clamped index: up to entry 1200, or 3600 for version 3.
        _, kt, bt = self.arrays()
        return R.ktbt_correct_param_t(self.K_Temp, self.B_Temp, self.Address_CA, kt, bt, vtemp)

    def index(self, vtemp):
        """KT/BT index that focal-plane readings select, clamped as the correction clamps it.

        The library computes it (radimo_ktbt_index); a scalar vtemp gives an int, an array of
        readings an int32 array of their indices.
        """
        record, out = self._record(0), c_int32()

        def one(value):
            record.vtemp = value
            call("radimo_ktbt_index", byref(record), self.kt.size, byref(out))
            return out.value

        return elementwise(one, np.int32, check_integer("vtemp", vtemp, 0, 0xFFFF))

    def calib_param(self, **fields):
        """second_calib_param_t with this mapping and the arrays' length, plus the given fields."""
        n = self.arrays()[0]
        return R.second_calib_param_t(K_Temp=self.K_Temp, B_Temp=self.B_Temp, Address_CA=self.Address_CA,
                                      ktbt_array_len=n, ktbt_index_len=n, **fields)

    def correct(self, raw, vtemp):
        """Corrected NUC values (uint16, 0..16383) of raw responses at a focal-plane reading."""
        record = self._record(int(check_integer("vtemp", vtemp, 0, 0xFFFF)))
        out = c_uint16()

        function = "ktbt_correct_process_with_version3" if self.version3 else "ktbt_correct_process"

        def one(value):
            call(function, byref(record), value, byref(out))
            return out.value

        return elementwise(one, np.uint16, check_integer("raw", raw, 0, 0xFFFF))

    def reverse(self, nuc, vtemp):
        """Raw responses that the correction maps onto the given NUC values."""
        vtemp = int(check_integer("vtemp", vtemp, 0, 0xFFFF))
        param = self.calib_param()
        (_, kt, bt), out = self.arrays(), c_uint16()

        function = "reverse_ktbt_correct_with_version3" if self.version3 else "reverse_ktbt_correct"

        def one(value):
            call(function, byref(param), kt, bt, None, vtemp, value, byref(out))
            return out.value

        return elementwise(one, np.uint16, check_integer("nuc", nuc, 0, 16383))

    def temperature(self, nuc_table, raw, vtemp):
        """Temperatures in 1/16 K (uint16) of raw responses: correction, then the NUC table.

        Per pixel this is temp_measure_with_NUC_value (for 3601-entry arrays the version-3
        correction, then remap_temp); degC = value / 16 - 273.15.
        """
        table = check_table("nuc_table", nuc_table, np.uint16, (8192,))
        record = self._record(int(check_integer("vtemp", vtemp, 0, 0xFFFF)))
        table_ptr, nuc, out = buffer("nuc_table", table, c_uint16, 8192), c_uint16(), c_uint16()

        def one(value):
            if self.version3:
                call("ktbt_correct_process_with_version3", byref(record), value, byref(nuc))
                call("remap_temp", table_ptr, nuc.value, byref(out))
            else:
                call("temp_measure_with_NUC_value", byref(record), table_ptr, value, byref(out))
            return out.value

        return elementwise(one, np.uint16, check_integer("raw", raw, 0, 0xFFFF))


_FIELD_CHECKS = {
    "K_Temp": lambda v: int(check_integer("K_Temp", v, -2**15, 2**15 - 1)),
    "B_Temp": lambda v: int(check_integer("B_Temp", v, -2**15, 2**15 - 1)),
    "Address_CA": lambda v: int(check_integer("Address_CA", v, 0, 0xFFFF)),
    "kt": lambda v: check_table("kt", v, np.uint16, KTBT_LENGTHS),
    "bt": lambda v: check_table("bt", v, np.int16, KTBT_LENGTHS),
}

__all__ = ["generate_nuc_table", "nuc_to_celsius", "celsius_to_nuc", "KtBt"]
