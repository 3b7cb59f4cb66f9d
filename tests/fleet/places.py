"""What a reader of the documents would say about where policies are and what the platform did there."""

FAMILIES = ("ipv4", "ipv6", "mac", "mpls")
# By kind of point and direction: the key of the configuration and that of the status.
INTERFACES = {("interface", "input"): ("intfConfigInput", "interfaceInput"),
              ("interface", "output"): ("intfConfigOutput", "interfaceOutput"),
              ("vlan", None): ("intfConfigBridged", "vlan")}
CPU = ("cpu", None)


def listed(policies):
    return policies if isinstance(policies, list) else [policies]


def reports_of(status, key):
    """Of each policy the reports by interface."""
    return {policy: one.get("intfStatus", {})
            for policy, one in status.get(key, {}).get("policyMapStatus", {}).items()}


def is_programmed(report):
    return any(entry.get("state") == "programmed" for entry in report.values())


class Places:
    """One state. configured: the policies of each point, in order; reports: what was said of a policy there,
    by where it is installed."""

    def __init__(self, config, status):
        self.config = config
        self.configured = {}
        self.reports = {}
        for place, (key, status_key) in INTERFACES.items():
            def point(name, is_vlan=place[0] == "vlan"):
                return name.removeprefix("Vlan") if is_vlan else name
            for name, policies in config.get(key, {}).items():
                self.configured[place, point(name)] = listed(policies)
            for policy, by_interface in reports_of(status, status_key).items():
                for name, report in by_interface.items():
                    self.reports.setdefault((place, point(name), policy), {})["hardware"] = [report]
        self.add_cpu(status)

    def add_cpu(self, status):
        vrf_of = {name: intf["vrf"] for name, intf in self.config.get("l3IntfStatusDir", {}).items()}
        self.vrfs_with_interfaces = set(vrf_of.values())
        for key, where in (("cpu", "hardware"), ("cpuSoftware", "software")):
            for policy, by_interface in reports_of(status, key).items():
                for name, report in sorted(by_interface.items()):
                    if name in vrf_of:
                        here = self.reports.setdefault((CPU, vrf_of[name], policy), {})
                        here.setdefault(where, []).append(report)
        own = dict(self.config.get("vrfConfig", {}))
        rest = own.pop("all", None)
        for vrf, policies in own.items():
            self.configured[CPU, vrf] = listed(policies)
        self.by_all = set()
        if rest is not None:
            others = set(self.config.get("allVrfConfig", [])) | {key[1] for key in self.reports if key[0] == CPU}
            self.by_all = others - own.keys() - {"all"} or ({"all"} if not others - own.keys() else set())
            for vrf in self.by_all:
                self.configured[CPU, vrf] = listed(rest)

    def has_rules(self, policy, family):
        rules = self.config["policyMapConfig"].get(policy, {}).get("currCfg", {}).get("rules", [])
        return any(family in rule.get("match", {}) for rule in rules)

    def installations(self):
        """By place, point, policy, family and where: the outcome, with a reason if there is one."""
        found = {}
        keys = {(place, point, policy) for (place, point), policies in self.configured.items() for policy in policies}
        for place, point, policy in keys | self.reports.keys():
            for family in FAMILIES:
                for where in ("hardware", "software") if place == CPU else ("hardware",):
                    outcome = self.outcome(place, point, policy, family, where)
                    if outcome is not None:
                        found[place, point, policy, family, where] = outcome
        return found

    def outcome(self, place, point, policy, family, where):
        everywhere = self.reports.get((place, point, policy), {})
        reports = everywhere.get(where, [])
        said = [report[family] for report in reports if family in report]
        others = [entry for entry in said if entry["state"] != "programmed"]
        if policy not in self.configured.get((place, point), []):
            return ("notConfigured", None) if len(others) < len(said) else None
        if said and not others:
            return ("applied", None)
        failed = [entry for entry in others if entry["state"] == "failed"]
        if failed:
            return ("failed", next((entry["errorText"] for entry in failed if entry.get("errorText")), None))
        # Of other families the platform need not say anything.
        if not self.has_rules(policy, family) or (
                family in ("mac", "mpls") and (where == "software" or (reports and not said))):
            return None
        if place == CPU and not everywhere and point not in self.vrfs_with_interfaces:
            return None if point in self.by_all else ("notProcessed", "no interface in the VRF")
        entry = next((entry for entry in others if entry.get("errorText")), others[0] if others else None)
        if entry is None or entry["state"] == "notReported":
            return ("notProcessed", "not reported")
        return ("notProcessed", entry.get("errorText") or f"state {entry['state']}")
