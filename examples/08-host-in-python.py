#!/usr/bin/env python3
"""A complete host in Python with ctypes: loads the module, implements the buffers and the host engine, converts a
buffer from 16 to 24 bits, interleaves four channels with gains, and prints the results.

Callbacks into Python allocate memory and take the interpreter lock: use this for tests and tools, not on a real-time
thread.
"""
import ctypes
import struct
import sys
import uuid
from ctypes import (CFUNCTYPE, POINTER, Structure, addressof, byref, c_bool, c_float, c_int, c_uint, c_uint32,
                    c_uint64, c_ulong, c_void_p, c_wchar_p, cast, memmove, sizeof, string_at)

E_NOINTERFACE = 0x80004002 - 2**32
ZT_E_INVALID_PARAMETER = 0x89998044 - 2**32
PCM = 1


def guid(text):
    return uuid.UUID(text).bytes_le


IID_IUnknown = guid("00000000-0000-0000-C000-000000000046")
IID_IClassFactory = guid("00000001-0000-0000-C000-000000000046")
CLSID_ZtaAudioSamplesEngine = guid("45F20097-F519-4DCF-80D8-CC0D06CBF259")
IID_IZtaAudioSamplesEngineFactory = guid("8593F6A8-4042-42B9-86D0-7160A75F5F87")
IID_IZtAVContent = guid("E7906166-30F4-4F30-AE1E-2FCFAE969330")
IID_IZtAudioSamples = guid("20B1F28E-A524-4997-A768-F4FF6342363E")
IID_IZtQuonEnginePrivate = guid("1E271296-1E50-40C9-8BB5-FB13F8133B96")


class WaveFormat(Structure):
    _fields_ = [(name, c_uint32) for name in ("size", "channels", "data_type", "rate", "container_bits", "valid_bits")]


class Description(Structure):
    _fields_ = [("size", c_uint32), ("polarity", c_uint32), ("host_attribute", c_uint32), ("fade_in", c_bool),
                ("fade_out", c_bool), ("format", WaveFormat)]


class CreateRequest(Structure):
    _fields_ = [("size", c_uint32), ("capacity", c_uint64), ("polarity", c_uint32), ("host_attribute", c_uint32),
                ("fade_in", c_bool), ("fade_out", c_bool), ("format", WaveFormat)]


class Volume(Structure):
    _fields_ = [("channel_ref", c_uint32), ("start", c_float), ("end", c_float)]


assert (sizeof(WaveFormat), sizeof(Description), sizeof(CreateRequest), sizeof(Volume)) == (24, 40, 56, 12)


def pcm(channels, container_bits, valid_bits):
    return WaveFormat(24, channels, PCM, 48000, container_bits, valid_bits)


class Object:
    """An object that the module can call: a pointer to a table of functions in the order of the slots.

    A derived class lists its slots after IUnknown's three as (name, types of the arguments), and its identifiers.
    """
    alive = {}  # address: object. The module knows only the address; this reference keeps the object alive.
    slots = ()
    identifiers = ()

    def __init__(self):
        self.references = 1
        unknown = (("query_interface", (c_void_p, POINTER(c_void_p)), c_int), ("add_ref", (), c_ulong),
                   ("release", (), c_ulong))
        table = unknown + tuple((name, types, c_int) for name, types in self.slots)
        self.functions = [self.callback(name, types, result) for name, types, result in table]
        self.table = (c_void_p * len(table))(*(cast(function, c_void_p) for function in self.functions))
        self.pointer = c_void_p(addressof(self.table))
        self.address = addressof(self.pointer)
        Object.alive[self.address] = self

    def callback(self, name, types, result):
        method = getattr(self, name)
        return CFUNCTYPE(result, c_void_p, *types)(lambda this, *arguments: method(*arguments) or 0)

    def query_interface(self, identifier, result):
        known = string_at(identifier, 16) in self.identifiers
        result[0] = self.address if known else None
        if not known:
            return E_NOINTERFACE
        self.add_ref()

    def add_ref(self):
        self.references += 1
        return self.references

    def release(self):
        self.references -= 1
        if self.references == 0:
            del Object.alive[self.address]
        return self.references


class Buffer(Object):
    identifiers = (IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples)
    slots = (("mark_write_start_time", ()), ("mark_write_stop_time", ()), ("signal_read_completion", ()),
             ("signal_write_completion", ()), ("set_error_code", (c_int,)), ("get_error_code", (POINTER(c_int),)),
             ("set_polarity", (c_uint32,)), ("set_wave_format", (POINTER(WaveFormat),)),
             ("get_audio_samples_description", (POINTER(Description),)),
             ("get_buffer_and_length", (POINTER(c_void_p), POINTER(c_ulong))),
             ("get_buffer_capacity", (POINTER(c_ulong),)), ("get_length_in_sample_frames", (POINTER(c_ulong),)),
             ("set_fade_in", (c_bool,)), ("set_fade_out", (c_bool,)), ("set_length", (c_ulong,)))

    def __init__(self, wave_format, capacity, content=b""):
        super().__init__()
        self.data = ctypes.create_string_buffer(capacity)
        memmove(self.data, content, len(content))
        self.format = WaveFormat.from_buffer_copy(wave_format)
        self.length = len(content)
        self.error_code = self.polarity = self.open_reads = self.open_writes = 0
        self.fade_in = self.fade_out = False

    def content(self):
        return self.data.raw[:self.length]

    def mark_write_start_time(self):
        pass

    def mark_write_stop_time(self):
        pass

    def signal_read_completion(self):
        self.open_reads -= 1

    def signal_write_completion(self):
        self.open_writes -= 1

    def set_error_code(self, code):
        self.error_code = code

    def get_error_code(self, code):
        code[0] = self.error_code

    def set_polarity(self, polarity):
        self.polarity = polarity

    def set_wave_format(self, wave_format):
        self.format = WaveFormat.from_buffer_copy(wave_format[0])

    def get_audio_samples_description(self, description):
        description[0] = Description(40, self.polarity, 0, self.fade_in, self.fade_out, self.format)

    def get_buffer_and_length(self, address, length):
        address[0] = addressof(self.data)
        length[0] = self.length

    def get_buffer_capacity(self, capacity):
        capacity[0] = len(self.data)

    def get_length_in_sample_frames(self, frames):
        frame_bytes = self.format.container_bits // 8 * self.format.channels
        frames[0] = self.length // frame_bytes if frame_bytes else 0

    def set_fade_in(self, fade):
        self.fade_in = fade

    def set_fade_out(self, fade):
        self.fade_out = fade

    def set_length(self, length):
        if length > len(self.data):
            return ZT_E_INVALID_PARAMETER
        self.length = length


class HostEngine(Object):
    identifiers = (IID_IUnknown, IID_IZtQuonEnginePrivate)
    slots = (("create_audio_samples", (POINTER(CreateRequest), POINTER(c_void_p))),)

    def create_audio_samples(self, request, samples):
        samples[0] = Buffer(request[0].format, request[0].capacity).address


class Module:
    def __init__(self, path):
        self.library = ctypes.CDLL(path)
        self.library.ztErrorToString.restype = c_wchar_p
        self.library.DllEntryPoint(c_uint(1), c_void_p(1))

    def check(self, status):
        if status < 0:
            raise RuntimeError(self.library.ztErrorToString(status))

    def call(self, this, slot, types, *arguments):
        """Calls the function in one slot of an object of the module."""
        table = cast(this, POINTER(POINTER(c_void_p)))[0]
        return CFUNCTYPE(c_int, c_void_p, *types)(table[slot])(this, *arguments)

    def create_engine(self, host):
        class_factory, factory, engine = c_void_p(), c_void_p(), c_void_p()
        self.check(self.library.DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory,
                                                  byref(class_factory)))
        self.check(self.call(class_factory, 5, (c_void_p, ctypes.c_char_p, c_void_p), None,
                             IID_IZtaAudioSamplesEngineFactory, byref(factory)))
        self.check(self.call(factory, 5, (c_void_p, c_ulong, c_void_p), host.address, 0, byref(engine)))
        self.call(factory, 2, ())
        self.call(class_factory, 2, ())
        return engine

    def unload(self):
        assert self.library.DllCanUnloadNow() == 0, "an object of the module is still alive"
        self.library.DllEntryPoint(c_uint(1), c_void_p(0))


COPY, MONO_TO_MUX = 5, 9  # slots of the engine


def convert(module, engine):
    samples = (0, 1, -1, 12345, 32767, -32768)
    source = Buffer(pcm(1, 16, 16), 12, struct.pack("<6h", *samples))
    destination = Buffer(pcm(1, 32, 24), 24)
    source.open_reads += 1
    destination.open_writes += 1
    module.check(module.call(engine, COPY, (c_void_p, c_void_p), source.address, destination.address))
    for sample, word in zip(samples, struct.unpack("<6I", destination.content())):
        print(f"{sample:6d} becomes 0x{word:08X}")
    assert source.open_reads == 0 and destination.open_writes == 0, "a completion signal is missing"
    source.release()
    destination.release()


def interleave(module, engine):
    """Channel c has the constant 0.25 and the gain c + 1."""
    channels, frames = 4, 6
    planes = [Buffer(pcm(1, 32, 24), 4 * frames, struct.pack("<I", 0x20000000) * frames) for _ in range(channels)]
    mux = Buffer(pcm(channels, 32, 24), 4 * frames * channels)
    mux.length = len(mux.data)  # with volumes, the mux must have the length of its inputs
    for plane in planes:
        plane.open_reads += 1
    mux.open_writes += 1
    module.check(module.call(engine, MONO_TO_MUX, (c_void_p, c_ulong, c_void_p, c_void_p, c_ulong),
                             (c_void_p * channels)(*(plane.address for plane in planes)), channels, mux.address,
                             (Volume * channels)(*(Volume(0, c + 1, c + 1) for c in range(channels))), channels))
    first = struct.unpack(f"<{channels}i", mux.content()[:4 * channels])
    print(f"mux of {channels} channels, first frame:", *(f"{sample / 2**31:.6f}" for sample in first))
    assert mux.open_writes == 0 and not any(plane.open_reads for plane in planes), "a completion signal is missing"
    for buffer in planes + [mux]:
        buffer.release()


def main():
    module = Module(sys.argv[1] if len(sys.argv) > 1 else "libZtaAudioSamplesEngine.so.1")
    host = HostEngine()
    engine = module.create_engine(host)
    print("scratch buffers of the engine:", len(Object.alive) - 1)
    convert(module, engine)
    interleave(module, engine)
    module.call(engine, 2, ())
    print("buffers left:", len(Object.alive) - 1)
    module.unload()


main()
