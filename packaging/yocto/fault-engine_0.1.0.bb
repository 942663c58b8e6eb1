SUMMARY = "Utility library of a BMC's fault engine"
DESCRIPTION = "Turns fault requests and SEL records into faults, keeps and publishes the table of active faults."
SECTION = "libs"
# No licence has been given yet.
LICENSE = "CLOSED"

# The archive that scripts/dist writes, in the folder "files" beside this recipe. It unpacks into ${BP}, which is where S
# points by default. To build a working copy instead:
#   INHERIT += "externalsrc"
#   EXTERNALSRC:pn-fault-engine = "/path/to/the/sources"
SRC_URI = "file://${BP}.tar.gz"

inherit cmake pkgconfig

EXTRA_OECMAKE = "-DFE_TESTS=OFF"

# On the target the neighbours are the platform's own libraries, so neither stand-ins nor tools are built unless asked for.
PACKAGECONFIG ??= ""
PACKAGECONFIG:class-native ??= "tools"
PACKAGECONFIG:class-nativesdk ??= "tools"
# The header of kainjow-mustache has no recipe of its own there: who builds the tools brings one by that name.
PACKAGECONFIG[tools] = "-DFE_TOOLS=ON,-DFE_TOOLS=OFF,cli11 nlohmann-json kainjow-mustache zlib xz"

# fectl with its stand-ins: their libraries have no versions, and are no files of those who develop.
PACKAGES =+ "${PN}-tools"
FILES:${PN}-tools = "${bindir}/fectl ${libdir}/fault_engine ${mandir}/man1/fectl.1* ${datadir}/bash-completion ${docdir}/fault-engine-tools"
FILES:${PN}-dev += "${libdir}/cmake"
FILES:${PN}-doc += "${docdir}"

BBCLASSEXTEND = "native nativesdk"
