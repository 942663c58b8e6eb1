SUMMARY = "Utility library of a BMC's fault engine"
DESCRIPTION = "Turns fault requests and SEL records into faults, keeps and publishes the table of active faults."
SECTION = "libs"
LICENSE = "CLOSED"

# The sources beside this recipe's layer; point EXTERNALSRC or SRC_URI at your copy.
SRC_URI = "file://fault-engine-${PV}.tar.gz"
S = "${WORKDIR}/fault-engine-${PV}"

inherit cmake pkgconfig

# On the target the neighbours are the platform's own libraries, so neither stand-ins nor tools are built.
EXTRA_OECMAKE = "-DFE_TOOLS=OFF -DFE_TESTS=OFF"

# The neighbours' symbols are resolved by the process that loads the library.
INSANE_SKIP:${PN} += "undefined-symbols"

FILES:${PN}-dev += "${libdir}/cmake"

BBCLASSEXTEND = "nativesdk"
