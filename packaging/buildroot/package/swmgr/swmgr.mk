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

# A development machine's build folder is large and of no use to a device.
SWMGR_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude build --exclude run-state

SWMGR_CONF_OPTS += \
	-DSWMGR_DAEMON=$(if $(BR2_PACKAGE_SWMGR_DAEMON),ON,OFF) \
	-DSWMGR_CLIENT=$(if $(BR2_PACKAGE_SWMGR_CLIENT),ON,OFF) \
	-DSWMGR_STANDINS=$(if $(BR2_PACKAGE_SWMGR_STANDINS),ON,OFF) \
	-DSWMGR_LOG_DAEMON=$(if $(BR2_PACKAGE_SWMGR_LOGD),ON,OFF)

ifeq ($(BR2_PACKAGE_SWMGR_CLIENT),y)
SWMGR_DEPENDENCIES += cli11 json-for-modern-cpp
endif

# Members of the group may send requests.
define SWMGR_USERS
	- - swmgr -1 - - - - Switch manager's clients
endef

ifeq ($(BR2_PACKAGE_SWMGR_DAEMON),y)

define SWMGR_INSTALL_SETTINGS
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.default $(TARGET_DIR)/etc/default/swmgr
	$(INSTALL) -d -m 0755 $(TARGET_DIR)/etc/swmgr
endef
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_INSTALL_SETTINGS

# Made again with each build.
SWMGR_DATABASE = $(call qstrip,$(BR2_PACKAGE_SWMGR_DATABASE))
ifneq ($(SWMGR_DATABASE),)
SWMGR_DEPENDENCIES += host-sqlite
define SWMGR_INSTALL_DATABASE
	rm -f $(TARGET_DIR)/etc/swmgr/config.db
	$(HOST_DIR)/bin/sqlite3 -bail $(TARGET_DIR)/etc/swmgr/config.db \
		".read $(@D)/data/schema.sql" ".read $(SWMGR_DATABASE)"
	chmod 0660 $(TARGET_DIR)/etc/swmgr/config.db
endef
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_INSTALL_DATABASE
endif

define SWMGR_INSTALL_INIT_SYSV
	$(INSTALL) -D -m 0755 $(@D)/packaging/S60swmgr $(TARGET_DIR)/etc/init.d/S60swmgr
endef

define SWMGR_INSTALL_DAEMON_UNIT
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgrd.service \
		$(TARGET_DIR)/usr/lib/systemd/system/swmgrd.service
	$(INSTALL) -D -m 0644 $(@D)/packaging/60-swmgr.rules \
		$(TARGET_DIR)/usr/lib/udev/rules.d/60-swmgr.rules
endef

endif # daemon

ifeq ($(BR2_PACKAGE_SWMGR_LOGD),y)

define SWMGR_INSTALL_LOG_ROTATION
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.logrotate $(TARGET_DIR)/etc/logrotate.d/swmgr
endef
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_INSTALL_LOG_ROTATION

define SWMGR_INSTALL_LOGD_UNIT
	$(INSTALL) -D -m 0644 $(@D)/packaging/swlogd.service \
		$(TARGET_DIR)/usr/lib/systemd/system/swlogd.service
endef

else ifeq ($(BR2_PACKAGE_SWMGR_DAEMON),y)

# Keeps the init script from starting a log daemon.
define SWMGR_LEAVE_LOG
	echo SWLOGD=no >> $(TARGET_DIR)/etc/default/swmgr
endef
SWMGR_POST_INSTALL_TARGET_HOOKS += SWMGR_LEAVE_LOG

endif

define SWMGR_INSTALL_INIT_SYSTEMD
	$(SWMGR_INSTALL_DAEMON_UNIT)
	$(SWMGR_INSTALL_LOGD_UNIT)
	$(INSTALL) -D -m 0644 $(@D)/packaging/swmgr.sysusers \
		$(TARGET_DIR)/usr/lib/sysusers.d/swmgr.conf
endef

$(eval $(cmake-package))
