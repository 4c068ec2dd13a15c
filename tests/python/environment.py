"""The one environment of the library that the package has opened."""

import ctypes

from zarngi import _library


class Environment(ctypes.Structure):
    """Mirror of `calculationEnvironment` (env.h)."""

    _fields_ = [
        ("xmin_ref", ctypes.c_float * 3),
        ("xmin_eval", ctypes.c_float * 3),
        ("xmax_ref", ctypes.c_float * 3),
        ("xmax_eval", ctypes.c_float * 3),
        ("nn_ref", ctypes.c_int * 3),
        ("nn_eval", ctypes.c_int * 3),
        ("hs_ref", ctypes.c_float * 3),
        ("hs_eval", ctypes.c_float * 3),
        ("map_ref", ctypes.POINTER(ctypes.c_float)),
        ("map_eval", ctypes.POINTER(ctypes.c_float)),
        ("gamma", ctypes.POINTER(ctypes.c_float)),
        ("N_ref", ctypes.c_size_t),
        ("N_eval", ctypes.c_size_t),
        ("DCO", ctypes.c_float),
        ("DTA", ctypes.c_float),
        ("DD", ctypes.c_float),
        ("passRateMode", ctypes.c_bool),
        ("globalDD", ctypes.c_bool),
        ("global_normalisation", ctypes.c_float),
        ("gammaSearchMax", ctypes.c_float),
        ("verbose", ctypes.c_int),
        ("num_threads", ctypes.c_int),
        ("passrate", ctypes.c_float),
        ("gammaindex2D", ctypes.c_bool),
        ("gammaindex2D_z", ctypes.c_bool),
        ("gammaindex2D_y", ctypes.c_bool),
        ("gammaindex2D_x", ctypes.c_bool),
        ("lNoInterpolation", ctypes.c_bool),
        ("numSamplesEval", ctypes.c_int),
        ("stepSize", ctypes.c_float),
        ("randomRotation", ctypes.c_bool),
    ]


def environment():
    """Its fields, which can be changed."""
    return ctypes.POINTER(Environment).in_dll(_library._library, "Env").contents
