# UNTESTED: there was no build of that kind where this was written; names of other recipes are those of
# openembedded-core and meta-openembedded (meta-oe for rapidjson). The source is this tree: with
# EXTERNALSRC:pn-pagehost = "/path/to/it" in local.conf, or a SRC_URI of one's own.
SUMMARY = "Native host of web applications on a device"
DESCRIPTION = "One window full of real web pages, whose chrome is a page of HTML that drives the others."
SECTION = "x11"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=479956bdaa61483164745baa28f68ffa"

inherit externalsrc cmake pkgconfig features_check systemd useradd

# An X server, or a compositor with an X compatibility server.
REQUIRED_DISTRO_FEATURES = "x11 opengl"

# webkitgtk must be built for GTK 3 and libsoup 3 (webkit2gtk-4.1).
DEPENDS = "webkitgtk gtk+3 libsoup glib-2.0 libx11 libxext libxfixes libxi libxscrnsaver pulseaudio rapidjson fontconfig icu libcap libseccomp gnutls libpsl"

EXTRA_OECMAKE = " \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DPAGEHOST_SYSTEMD_FOLDER=${systemd_system_unitdir} \
"

# As in packaging/sysusers.
USERADD_PACKAGES = "${PN}"
USERADD_PARAM:${PN} = "--system --user-group --home-dir /var/lib/pagehost-kiosk --shell /sbin/nologin pagehost-kiosk; \
    --system --user-group --no-create-home --shell /sbin/nologin pagehost-server"

# Nothing is enabled by installing: what a device starts its image says.
SYSTEMD_SERVICE:${PN} = "pagehost-kiosk@.service pagehost-server.service"
SYSTEMD_AUTO_ENABLE = "disable"

FILES:${PN} += " \
    ${systemd_system_unitdir} ${systemd_user_unitdir} ${nonarch_libdir}/sysusers.d ${libexecdir}/pagehost \
    ${datadir}/applications ${datadir}/dbus-1 ${datadir}/icons ${datadir}/metainfo \
"

# The engine's sandbox of web pages, and what is shown without fonts of its own.
RDEPENDS:${PN} = "ca-certificates glib-networking ttf-dejavu-sans"
RRECOMMENDS:${PN} = "bubblewrap xdg-dbus-proxy xserver-xorg xinit"
