################################################################################
#
# swmgr
#
################################################################################

SWMGR_VERSION = 1.0.0
SWMGR_SITE = $(BR2_EXTERNAL_SWMGR_PATH)/../..
SWMGR_SITE_METHOD = local
SWMGR_LICENSE = PROPRIETARY
SWMGR_REDISTRIBUTE = NO
SWMGR_INSTALL_STAGING = YES
SWMGR_DEPENDENCIES = host-pkgconf sqlite
SWMGR_CONF_OPTS = -DSWMGR_SIMULATOR=OFF -DSWMGR_TESTS=OFF

# The build folder of a desk holds nothing for a device, and much of it.
SWMGR_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude build --exclude run-state

ifeq ($(BR2_PACKAGE_SWMGR_CLIENT),y)
SWMGR_DEPENDENCIES += cli11 json-for-modern-cpp
SWMGR_CONF_OPTS += -DSWMGR_CLIENT=ON
else
SWMGR_CONF_OPTS += -DSWMGR_CLIENT=OFF
endif

# The device's own libraries and logging module take the place of these.
define SWMGR_REMOVE_STANDINS
	rm -f $(TARGET_DIR)/usr/lib/librelay.so $(TARGET_DIR)/usr/lib/libsal.so \
		$(TARGET_DIR)/usr/sbin/swlogd $(TARGET_DIR)/usr/lib/systemd/system/swlogd.service
	echo SWLOGD=no >> $(TARGET_DIR)/etc/default/swmgr
endef

define SWMGR_INSTALL_SETTINGS
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.default $(TARGET_DIR)/etc/default/swmgr
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.logrotate $(TARGET_DIR)/etc/logrotate.d/swmgr
	$(INSTALL) -d -m 0755 $(TARGET_DIR)/etc/swmgr
endef
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_INSTALL_SETTINGS
ifneq ($(BR2_PACKAGE_SWMGR_STANDINS),y)
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_REMOVE_STANDINS
endif

# Members of the group may send requests.
define SWMGR_USERS
	- - swmgr -1 - - - - Switch manager's clients
endef

define SWMGR_INSTALL_INIT_SYSV
	$(INSTALL) -D -m 0755 $(@D)/packaging/S60swmgr $(TARGET_DIR)/etc/init.d/S60swmgr
endef

define SWMGR_INSTALL_INIT_SYSTEMD
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgrd.service \
		$(TARGET_DIR)/usr/lib/systemd/system/swmgrd.service
	$(INSTALL) -D -m 0644 $(@D)/packaging/swlogd.service \
		$(TARGET_DIR)/usr/lib/systemd/system/swlogd.service
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.sysusers \
		$(TARGET_DIR)/usr/lib/sysusers.d/swmgr.conf
	$(INSTALL) -D -m 0644 $(@D)/packaging/60-swmgr.rules \
		$(TARGET_DIR)/usr/lib/udev/rules.d/60-swmgr.rules
endef

$(eval $(cmake-package))
