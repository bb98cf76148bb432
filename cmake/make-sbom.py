#!/usr/bin/env python3
"""make-sbom.py VERSION RELEASE ARM64 WINDOWS DEBIAN: prints the bill of materials of a release as CycloneDX 1.5 in JSON: what
stands in the build folders RELEASE, ARM64 and WINDOWS and in the trees of the Debian packages, and whatever is linked into it
or lies beside it. Its date is SOURCE_DATE_EPOCH."""
import datetime
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import urllib.parse
import uuid

version, (release, arm64, windows, packages) = sys.argv[1], map(pathlib.Path, sys.argv[2:])
OWN = "Apache-2.0"
GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"


def debian(package):
    """The version of a Debian package that is installed here."""
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True, text=True).stdout


def component(name, kind, its_version, licence, file=None, purl=None):
    ref = f"{name}@{its_version}"
    row = {"bom-ref": ref, "type": kind, "name": name, "version": its_version, "licenses": [{"expression": licence}]}
    if file:
        row["hashes"] = [{"alg": "SHA-256", "content": hashlib.sha256(file.read_bytes()).hexdigest()}]
    if purl:
        row["purl"] = purl
    return row


def deb(name, package, licence):
    """What a Debian package of the build machine gives to a file of ours."""
    purl = "pkg:deb/debian/" + "@".join(urllib.parse.quote(part, safe="") for part in (package, debian(package)))
    return component(name, "library", debian(package), licence, purl=purl)


def own(name, kind, file, purl=None):
    return component(name, kind, version, OWN, file, purl)


linux_runtime = deb("libstdc++ and libgcc, for Linux", "libstdc++-12-dev", GCC)
arm64_runtime = deb("libstdc++ and libgcc, for Linux on ARM", "libstdc++-12-dev-arm64-cross", GCC)
windows_runtime = deb("libstdc++ and libgcc, for Windows", "g++-mingw-w64-x86-64-posix", GCC)
mingw = deb("mingw-w64 runtime", "mingw-w64-x86-64-dev", "ZPL-2.1 AND MIT AND LicenseRef-public-domain")
picocli_version = debian("libpicocli-java").split("-")[0]
picocli = component("picocli", "library", picocli_version, OWN, release / "picocli.jar",
                    f"pkg:maven/info.picocli/picocli@{picocli_version}")
library = own("libzelspi.so", "library", release / "libzelspi.so")
arm64_library = own("libzelspi.so for ARM", "library", arm64 / "libzelspi.so")
dll = own("zelspi.dll", "library", windows / "zelspi.dll")
packaged = own("libzelspi.so.0", "library", next(packages.glob("libzelspi0/usr/lib/*/libzelspi.so.0"))) # without its symbols
verifier = own("zelverify", "application", packages / "zel/usr/bin/zelverify")
verifier_exe = own("zelverify.exe", "application", windows / "zelverify.exe")
provider = own("zel-provider", "library", release / "zel-provider.jar", f"pkg:maven/com.vantrel.zel/zel-provider@{version}")
tool = own("zel", "application", release / "zel-tool.jar")
whole = component("zelspi", "library", version, OWN)
parts = [  # each with what it is made of or runs with
    (whole, [library, packaged, arm64_library, dll, provider, tool, verifier, verifier_exe]),
    (provider, [library, arm64_library, dll]), (tool, [provider, picocli]),
    (library, [linux_runtime]), (packaged, [linux_runtime]), (verifier, [linux_runtime]),
    (arm64_library, [arm64_runtime]), (dll, [windows_runtime, mingw]), (verifier_exe, [windows_runtime, mingw]),
    (picocli, []), (linux_runtime, []), (arm64_runtime, []), (windows_runtime, []), (mingw, [])]
content = {
    "metadata": {
        "timestamp": datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc).isoformat(),
        "component": whole},
    "components": [part for part, _ in parts if part is not whole],
    "dependencies": [{"ref": part["bom-ref"], "dependsOn": [other["bom-ref"] for other in others]} for part, others in parts]}
serial = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(content, sort_keys=True))
print(json.dumps({"bomFormat": "CycloneDX", "specVersion": "1.5", "serialNumber": f"urn:uuid:{serial}", "version": 1, **content},
                 indent=2))
