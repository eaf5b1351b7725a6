#!/usr/bin/env python3
"""Writes the exports of 20,000 machines into a folder. Machine i has renderer i mod 5 and version i div 5 mod 4: 1000
machines for each pair. The versions are not in the order of their text. Everything works but for what is listed."""
import json
import sys

FORMATS = """GL_RGB32F_ARB GL_RGBA32F_ARB GL_LUMINANCE32F_ARB GL_LUMINANCE_ALPHA32F_ARB
    GL_LUMINANCE8 GL_LUMINANCE8_ALPHA8 GL_RGB8 GL_RGBA8 GL_LUMINANCE16 GL_LUMINANCE16_ALPHA16 GL_RGB16 GL_RGBA16
    GL_LUMINANCE16F_ARB GL_LUMINANCE_ALPHA16F_ARB GL_RGB16F_ARB GL_RGBA16F_ARB""".split()
CAPABILITIES = "supported renderable upload_set upload_reset download_get download_read".split()
USES = "create create_storage filter mipmap render blend".split()
TRANSFERS = """upload upload_part upload_part_storage upload_buffer define_buffer
    read read_part read_buffer get get_buffer""".split()
VERSIONS = "9.2.5 10.0.1 22.3.6 22.10.0".split()

for i in range(20000):
    renderer, version = i % 5, i // 5 % 4
    formats = {name: {"name": name, "internal_format": 1, **dict.fromkeys(CAPABILITIES, "yes")} for name in FORMATS}
    for fails, name, capability, verdict in (
            (renderer == 0, "GL_RGBA16", "upload_set", "no"),
            (renderer == 1 and version >= 2, "GL_RGBA8", "upload_reset", "no"),
            (i % 100 == 2, "GL_RGB32F_ARB", "download_get", "crashed"),
            (i % 200 == 177, "GL_RGBA32F_ARB", "download_read", "hung"),
            (renderer == 3 and version == 3, "GL_LUMINANCE8", "renderable", "no"),
            (renderer == 3 and version == 3, "GL_LUMINANCE8", "download_read", "not_applicable"),
            (i % 50 == 4, "GL_RGBA8", "upload_set", "unmeasured")):
        if fails:
            formats[name][capability] = verdict
    record_set = {
        "id": f"org.texprobe.texprobe2.abc{renderer}.build-{version}", "renderer_id": f"abc{renderer}",
        "system_build": f"build-{version}", "version": 0.21, "present": True, "complete": i % 50 != 4,
        "vendor": 'A "vendor"', "gl_version": f"4.5 Mesa {VERSIONS[version]}", "renderer": f"renderer {renderer}",
        "formats": list(formats.values()), "details": []}
    if renderer == 4:
        transfers = {**dict.fromkeys(TRANSFERS, "yes"), "read": "wrong" if i % 100 == 4 else "yes"}
        uses = {**dict.fromkeys(USES, "yes"), "render": "crashed" if version == 3 else "yes"}
        layout = {"format": "GL_RGBA", "type": "GL_UNSIGNED_BYTE", **transfers}
        surveyed = {"name": "GL_RGBA8", **uses, "layouts": [layout]}
        profile = {"profile": "core", "gl_version": "4.5", "formats": [surveyed], "details": []}
        record_set["survey"] = {"version": 1, "profiles": [profile]}
    with open(f"{sys.argv[1]}/m{i}.json", "w", encoding="utf-8") as file:
        json.dump({"schema": "texprobe-records", "schema_version": 2, "record_sets": [record_set]}, file)
