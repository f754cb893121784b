# Reads the package's .mk with stubs for Buildroot's macros that only check, and
# installs it into a folder:
#   make -f package.mk EXTERNAL=DIR TARGET_DIR=DIR [WITHOUT="OPTION..."] [DATABASE=FILE] install-init
# The target "options" prints the options that the project is built with.
BR2_EXTERNAL_SWMGR_PATH := $(EXTERNAL)
$(foreach option,$(filter-out $(WITHOUT),DAEMON CLIENT STANDINS LOGD),\
	$(eval BR2_PACKAGE_SWMGR_$(option) := y))
BR2_PACKAGE_SWMGR_DATABASE := "$(DATABASE)"
INSTALL := install
HOST_DIR := /usr
qstrip = $(strip $(subst ",,$(1)))

define newline


endef

define cmake-package
$(foreach v,VERSION SITE SITE_METHOD LICENSE,$(if $(strip $(SWMGR_$v)),,$(error SWMGR_$v is not set)))
$(if $(wildcard $(SWMGR_SITE)/CMakeLists.txt),,$(error $(SWMGR_SITE) has no CMakeLists.txt))
SEEN := yes
endef

include $(EXTERNAL)/external.mk

version := $(shell awk '$$1 ~ /^project/ { print $$3 }' $(SWMGR_SITE)/CMakeLists.txt)

.PHONY: check install-init options
options:
	@echo '$(SWMGR_CONF_OPTS)'
check:
	@test -n '$(SEEN)' || { echo 'the package is not evaluated'; exit 1; }
	@test '$(version)' = '$(SWMGR_VERSION)' || \
		{ echo 'the package is of $(SWMGR_VERSION), the project of $(version)'; exit 1; }
	@for option in $(patsubst -D%,%,$(SWMGR_CONF_OPTS)); do \
		grep -q "^option($${option%%=*} " $(SWMGR_SITE)/CMakeLists.txt || \
			{ echo "the project has no option $$option"; exit 1; }; done

install-init: @D := $(SWMGR_SITE)
install-init: check
	$(SWMGR_INSTALL_INIT_SYSV)
	$(SWMGR_INSTALL_INIT_SYSTEMD)
	$(foreach hook,$(SWMGR_POST_INSTALL_TARGET_HOOKS),$(call $(hook))$(newline))
