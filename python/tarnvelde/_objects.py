"""The objects of a model: a class for each class and kind, with the variables that it has.

Written by scripts/make-python-mirror.py from the library's list of variables; changes belong there.
"""
from __future__ import annotations

from typing import Dict, Tuple, Type

from ._header import Access, ObjectClass, Relation, When
from ._quantities import ModelObject, PollutantQuantity, Quantity, Related


class System(ModelObject):
    """The whole model."""

    __slots__ = ()
    _class = ObjectClass.SYSTEM

    routing_step = Quantity("routing_step", "s", Access.PARAMETER, When.NEVER,
                            "step of the network")
    runoff_step = Quantity("runoff_step", "s", Access.PARAMETER, When.NEVER,
                           "step of the land; a start of a run adjusts it")
    report_step = Quantity("report_step", "s", Access.PARAMETER, When.NEVER,
                           "time between two rows of results")
    start_dry_days = Quantity("start_dry_days", "d", Access.PARAMETER, When.WHEN_OPEN,
                              "dry days before the start; from 0")
    constant_evaporation = Quantity("constant_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                    "evaporation, where it isn't given by month; acts from the next runoff step "
                                    "on")
    january_evaporation = Quantity("january_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                   "evaporation of this month, where it is given by month; from the next runoff "
                                   "step on")
    february_evaporation = Quantity("february_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                    "evaporation of this month, where it is given by month; from the next runoff "
                                    "step on")
    march_evaporation = Quantity("march_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                 "evaporation of this month, where it is given by month; from the next runoff "
                                 "step on")
    april_evaporation = Quantity("april_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                 "evaporation of this month, where it is given by month; from the next runoff "
                                 "step on")
    may_evaporation = Quantity("may_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                               "evaporation of this month, where it is given by month; from the next runoff step "
                               "on")
    june_evaporation = Quantity("june_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                "evaporation of this month, where it is given by month; from the next runoff step "
                                "on")
    july_evaporation = Quantity("july_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                "evaporation of this month, where it is given by month; from the next runoff step "
                                "on")
    august_evaporation = Quantity("august_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                  "evaporation of this month, where it is given by month; from the next runoff "
                                  "step on")
    september_evaporation = Quantity("september_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                     "evaporation of this month, where it is given by month; from the next runoff "
                                     "step on")
    october_evaporation = Quantity("october_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                   "evaporation of this month, where it is given by month; from the next runoff "
                                   "step on")
    november_evaporation = Quantity("november_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                    "evaporation of this month, where it is given by month; from the next runoff "
                                    "step on")
    december_evaporation = Quantity("december_evaporation", "mm/d", Access.PARAMETER, When.ALWAYS,
                                    "evaporation of this month, where it is given by month; from the next runoff "
                                    "step on")
    held_evaporation = Quantity("held_evaporation", "mm/d", Access.FORCING, When.WHEN_STARTED,
                                "evaporation in place of the project's; from the next runoff step on")
    runoff_lead = Quantity("runoff_lead", "s", Access.STATE, When.NEVER,
                           "how far the land, which advances in runoff steps, is ahead of the network")
    rain = Quantity("rain", "mm/h", Access.RESULT, When.NEVER,
                    "rain of the last runoff step, mean over the land")
    evaporation = Quantity("evaporation", "mm/d", Access.RESULT, When.NEVER,
                           "evaporation, mean over the land")
    infiltration = Quantity("infiltration", "mm/h", Access.RESULT, When.NEVER,
                            "infiltration, mean over the land")
    runoff = Quantity("runoff", "m3/s", Access.RESULT, When.NEVER,
                      "runoff of all subcatchments")
    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "inflow, sum over all nodes")
    external_inflow = Quantity("external_inflow", "m3/s", Access.RESULT, When.NEVER,
                               "external inflow that the project file gives")
    dry_weather_inflow = Quantity("dry_weather_inflow", "m3/s", Access.RESULT, When.NEVER,
                                  "dry-weather flow")
    flooding = Quantity("flooding", "m3/s", Access.RESULT, When.NEVER,
                        "flooding of tanks, pipes and conduits")
    swmm_inflow = Quantity("swmm_inflow", "m3/s", Access.RESULT, When.NEVER,
                           "flow into SWMM models")
    swmm_outflow = Quantity("swmm_outflow", "m3/s", Access.RESULT, When.NEVER,
                            "flow out of SWMM models")
    outflow = Quantity("outflow", "m3/s", Access.RESULT, When.NEVER,
                       "flow into outfalls")
    storage = Quantity("storage", "m3", Access.RESULT, When.NEVER,
                       "water in the network")
    runoff_rainfall = Quantity("runoff_rainfall", "m3", Access.TOTAL, When.NEVER,
                               "balance of the land: rain")
    runoff_initial_lid_storage = Quantity("runoff_initial_lid_storage", "m3", Access.TOTAL, When.NEVER,
                                          "balance of the land: water in LID units at the start")
    runoff_evaporation_loss = Quantity("runoff_evaporation_loss", "m3", Access.TOTAL, When.NEVER,
                                       "balance of the land: evaporation")
    runoff_infiltration_loss = Quantity("runoff_infiltration_loss", "m3", Access.TOTAL, When.NEVER,
                                        "balance of the land: infiltration, and seepage of LID units")
    runoff_surface_runoff = Quantity("runoff_surface_runoff", "m3", Access.TOTAL, When.NEVER,
                                     "balance of the land: runoff")
    runoff_lid_drainage = Quantity("runoff_lid_drainage", "m3", Access.TOTAL, When.NEVER,
                                   "balance of the land: through underdrains of LID units")
    runoff_final_storage = Quantity("runoff_final_storage", "m3", Access.TOTAL, When.NEVER,
                                    "balance of the land: on the surfaces and in LID units now")
    runoff_error = Quantity("runoff_error", "%", Access.TOTAL, When.NEVER,
                            "balance of the land: continuity error")
    washoff_initial_buildup = PollutantQuantity("washoff_initial_buildup", "kg", Access.TOTAL, When.NEVER,
                                                "pollutants of the land: buildup at the start")
    washoff_surface_buildup = PollutantQuantity("washoff_surface_buildup", "kg", Access.TOTAL, When.NEVER,
                                                "pollutants of the land: built up in the run")
    washoff_wet_deposition = PollutantQuantity("washoff_wet_deposition", "kg", Access.TOTAL, When.NEVER,
                                               "pollutants of the land: load of the rain")
    washoff_infiltration_loss = PollutantQuantity("washoff_infiltration_loss", "kg", Access.TOTAL, When.NEVER,
                                                  "pollutants of the land: gone with infiltration and seepage")
    washoff_bmp_removal = PollutantQuantity("washoff_bmp_removal", "kg", Access.TOTAL, When.NEVER,
                                            "pollutants of the land: removed of what was washed off")
    washoff_lid_removal = PollutantQuantity("washoff_lid_removal", "kg", Access.TOTAL, When.NEVER,
                                            "pollutants of the land: reacted in LID units")
    washoff_surface_washoff = PollutantQuantity("washoff_surface_washoff", "kg", Access.TOTAL, When.NEVER,
                                                "pollutants of the land: load of the runoff")
    washoff_lid_drainage = PollutantQuantity("washoff_lid_drainage", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the land: through underdrains of LID units")
    washoff_lid_final_storage = PollutantQuantity("washoff_lid_final_storage", "kg", Access.TOTAL, When.NEVER,
                                                  "pollutants of the land: in LID units now")
    washoff_remaining_buildup = PollutantQuantity("washoff_remaining_buildup", "kg", Access.TOTAL, When.NEVER,
                                                  "pollutants of the land: buildup, and in ponded water, now")
    washoff_error = PollutantQuantity("washoff_error", "%", Access.TOTAL, When.NEVER,
                                      "pollutants of the land: continuity error; nan while there are none")
    flow_dry_weather_inflow = Quantity("flow_dry_weather_inflow", "m3", Access.TOTAL, When.NEVER,
                                       "balance of the network: dry-weather inflow")
    flow_wet_weather_inflow = Quantity("flow_wet_weather_inflow", "m3", Access.TOTAL, When.NEVER,
                                       "balance of the network: runoff, drains, rain on LID nodes")
    flow_external_inflow = Quantity("flow_external_inflow", "m3", Access.TOTAL, When.NEVER,
                                    "balance of the network: external inflow, with the host's")
    flow_swmm_inflow = Quantity("flow_swmm_inflow", "m3", Access.TOTAL, When.NEVER,
                                "balance of the network: out of SWMM models")
    flow_plant_inflow = Quantity("flow_plant_inflow", "m3", Access.TOTAL, When.NEVER,
                                 "balance of the network: out of treatment plants")
    flow_external_outflow = Quantity("flow_external_outflow", "m3", Access.TOTAL, When.NEVER,
                                     "balance of the network: inflow of the outfalls")
    flow_flooding_loss = Quantity("flow_flooding_loss", "m3", Access.TOTAL, When.NEVER,
                                  "balance of the network: flooding")
    flow_swmm_outflow = Quantity("flow_swmm_outflow", "m3", Access.TOTAL, When.NEVER,
                                 "balance of the network: into SWMM models")
    flow_plant_outflow = Quantity("flow_plant_outflow", "m3", Access.TOTAL, When.NEVER,
                                  "balance of the network: into treatment plants")
    flow_evaporation_loss = Quantity("flow_evaporation_loss", "m3", Access.TOTAL, When.NEVER,
                                     "balance of the network: evaporation of reactors and LID nodes")
    flow_seepage_loss = Quantity("flow_seepage_loss", "m3", Access.TOTAL, When.NEVER,
                                 "balance of the network: seepage of reactors and LID nodes")
    flow_delayed_volume = Quantity("flow_delayed_volume", "m3", Access.TOTAL, When.NEVER,
                                   "balance of the network: would leave a delay after the end")
    flow_initial_storage = Quantity("flow_initial_storage", "m3", Access.TOTAL, When.NEVER,
                                    "balance of the network: stored at the start")
    flow_final_storage = Quantity("flow_final_storage", "m3", Access.TOTAL, When.NEVER,
                                  "balance of the network: stored now")
    flow_error = Quantity("flow_error", "%", Access.TOTAL, When.NEVER,
                          "balance of the network: continuity error")
    quality_dry_weather_inflow = PollutantQuantity("quality_dry_weather_inflow", "kg", Access.TOTAL, When.NEVER,
                                                   "pollutants of the network: with dry-weather inflow")
    quality_wet_weather_inflow = PollutantQuantity("quality_wet_weather_inflow", "kg", Access.TOTAL, When.NEVER,
                                                   "pollutants of the network: with runoff, drains and rain")
    quality_external_inflow = PollutantQuantity("quality_external_inflow", "kg", Access.TOTAL, When.NEVER,
                                                "pollutants of the network: from outside, with the host's")
    quality_swmm_inflow = PollutantQuantity("quality_swmm_inflow", "kg", Access.TOTAL, When.NEVER,
                                            "pollutants of the network: out of SWMM models")
    quality_plant_inflow = PollutantQuantity("quality_plant_inflow", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the network: out of treatment plants")
    quality_external_outflow = PollutantQuantity("quality_external_outflow", "kg", Access.TOTAL, When.NEVER,
                                                 "pollutants of the network: out of the outfalls")
    quality_flooding_loss = PollutantQuantity("quality_flooding_loss", "kg", Access.TOTAL, When.NEVER,
                                              "pollutants of the network: with the flooding")
    quality_swmm_outflow = PollutantQuantity("quality_swmm_outflow", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the network: into SWMM models")
    quality_plant_outflow = PollutantQuantity("quality_plant_outflow", "kg", Access.TOTAL, When.NEVER,
                                              "pollutants of the network: into treatment plants")
    quality_seepage_loss = PollutantQuantity("quality_seepage_loss", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the network: with seepage")
    quality_reacted_loss = PollutantQuantity("quality_reacted_loss", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the network: reacted")
    quality_delayed_mass = PollutantQuantity("quality_delayed_mass", "kg", Access.TOTAL, When.NEVER,
                                             "pollutants of the network: would leave a delay after the end")
    quality_initial_storage = PollutantQuantity("quality_initial_storage", "kg", Access.TOTAL, When.NEVER,
                                                "pollutants of the network: stored at the start")
    quality_final_storage = PollutantQuantity("quality_final_storage", "kg", Access.TOTAL, When.NEVER,
                                              "pollutants of the network: stored now")
    quality_error = PollutantQuantity("quality_error", "%", Access.TOTAL, When.NEVER,
                                      "pollutants of the network: continuity error")


class Subcatchment(ModelObject):
    """A subcatchment."""

    __slots__ = ()
    _class = ObjectClass.SUBCATCHMENT

    outlet: Related["Node"] = Related(Relation.SUBCATCHMENT_OUTLET, ObjectClass.NODE,
                                      "node that gets the runoff")
    gage: Related["Gage"] = Related(Relation.SUBCATCHMENT_GAGE, ObjectClass.GAGE,
                                    "rain gage")
    area = Quantity("area", "ha", Access.PARAMETER, When.ALWAYS,
                    "area, with its LID units, which must find room on it; above 0")
    width = Quantity("width", "m", Access.PARAMETER, When.ALWAYS,
                     "width of the overland flow; above 0")
    impervious_share = Quantity("impervious_share", "%", Access.PARAMETER, When.ALWAYS,
                                "impervious share of the area without LID units; from 0 to 100")
    imperviousness = impervious_share
    slope = Quantity("slope", "%", Access.PARAMETER, When.ALWAYS,
                     "slope of the land; above 0 to 100")
    impervious_roughness = Quantity("impervious_roughness", "s/m^(1/3)", Access.PARAMETER, When.ALWAYS,
                                    "Manning's n of the impervious part; above 0")
    pervious_roughness = Quantity("pervious_roughness", "s/m^(1/3)", Access.PARAMETER, When.ALWAYS,
                                  "Manning's n of the pervious part; above 0")
    impervious_storage = Quantity("impervious_storage", "mm", Access.PARAMETER, When.ALWAYS,
                                  "depression storage of the impervious part; above 0")
    pervious_storage = Quantity("pervious_storage", "mm", Access.PARAMETER, When.ALWAYS,
                                "depression storage of the pervious part; above 0")
    first_infiltration = Quantity("first_infiltration", "mm/h", Access.PARAMETER, When.ALWAYS,
                                  "Horton's first infiltration rate; not below the final one; above 0")
    final_infiltration = Quantity("final_infiltration", "mm/h", Access.PARAMETER, When.ALWAYS,
                                  "Horton's final infiltration rate; not above the first one; above 0")
    infiltration_decay = Quantity("infiltration_decay", "1/h", Access.PARAMETER, When.ALWAYS,
                                  "Horton's decay constant; above 0")
    drying_time = Quantity("drying_time", "d", Access.PARAMETER, When.NEVER,
                           "drying time of the soil; has no effect on infiltration")
    infiltration_limit = Quantity("infiltration_limit", "mm", Access.PARAMETER, When.ALWAYS,
                                  "limit of the infiltrated depth; 0 is none; from 0")
    lid_area = Quantity("lid_area", "m2", Access.PARAMETER, When.NEVER,
                        "area of all LID units")
    initial_load = PollutantQuantity("initial_load", "kg/ha", Access.PARAMETER, When.WHEN_OPEN,
                                     "load of the land at the start; 0: built up over the dry days; from 0")
    impervious_depth = Quantity("impervious_depth", "m", Access.STATE, When.NEVER,
                                "water on the impervious part")
    pervious_depth = Quantity("pervious_depth", "m", Access.STATE, When.NEVER,
                              "water on the pervious part")
    buildup = PollutantQuantity("buildup", "kg", Access.STATE, When.NEVER,
                                "buildup on all land uses")
    ponded_mass = PollutantQuantity("ponded_mass", "kg", Access.STATE, When.NEVER,
                                    "mass in the ponded water")
    rain = Quantity("rain", "mm/h", Access.RESULT, When.NEVER,
                    "rain")
    evaporation = Quantity("evaporation", "mm/d", Access.RESULT, When.NEVER,
                           "evaporation")
    infiltration = Quantity("infiltration", "mm/h", Access.RESULT, When.NEVER,
                            "infiltration")
    runoff = Quantity("runoff", "m3/s", Access.RESULT, When.NEVER,
                      "runoff; 0 below 7.056e-10 m/s times the area")
    impervious_runoff = Quantity("impervious_runoff", "m3/s", Access.RESULT, When.NEVER,
                                 "outflow of the impervious part, before LID units")
    pervious_runoff = Quantity("pervious_runoff", "m3/s", Access.RESULT, When.NEVER,
                               "outflow of the pervious part, before LID units")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration of the runoff")
    rain_depth = Quantity("rain_depth", "mm", Access.TOTAL, When.NEVER,
                          "rain")
    evaporated_depth = Quantity("evaporated_depth", "mm", Access.TOTAL, When.NEVER,
                                "evaporation")
    infiltrated_depth = Quantity("infiltrated_depth", "mm", Access.TOTAL, When.NEVER,
                                 "infiltration")
    runoff_depth = Quantity("runoff_depth", "mm", Access.TOTAL, When.NEVER,
                            "runoff over the whole area")
    runoff_volume = Quantity("runoff_volume", "m3", Access.TOTAL, When.NEVER,
                             "runoff")
    peak_runoff = Quantity("peak_runoff", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest runoff")
    runoff_coefficient = Quantity("runoff_coefficient", "", Access.TOTAL, When.NEVER,
                                  "runoff by rain; 0 without rain")
    runoff_mass = PollutantQuantity("runoff_mass", "kg", Access.TOTAL, When.NEVER,
                                    "load of the runoff")
    initial_buildup = PollutantQuantity("initial_buildup", "kg", Access.TOTAL, When.NEVER,
                                        "buildup at the start, where the washoff takes from it")
    built_up_mass = PollutantQuantity("built_up_mass", "kg", Access.TOTAL, When.NEVER,
                                      "what has built up in the run")
    rain_mass = PollutantQuantity("rain_mass", "kg", Access.TOTAL, When.NEVER,
                                  "load of the rain on the land without LID units")
    infiltrated_mass = PollutantQuantity("infiltrated_mass", "kg", Access.TOTAL, When.NEVER,
                                         "gone with infiltration")
    removed_mass = PollutantQuantity("removed_mass", "kg", Access.TOTAL, When.NEVER,
                                     "removed share of what was washed off")


class Gage(ModelObject):
    """A rain gage."""

    __slots__ = ()
    _class = ObjectClass.GAGE

    series: Related["Series"] = Related(Relation.GAGE_SERIES, ObjectClass.SERIES,
                                        "time series of the rain")
    interval = Quantity("interval", "s", Access.PARAMETER, When.NEVER,
                        "recording interval")
    held_rain = Quantity("held_rain", "mm/h", Access.FORCING, When.WHEN_STARTED,
                         "rain in place of the series', on land from the next runoff step on; events stay those "
                         "of the series; from 0")
    is_in_event = Quantity("is_in_event", "", Access.STATE, When.NEVER,
                           "1 within a rain event of the series")
    rain = Quantity("rain", "mm/h", Access.RESULT, When.NEVER,
                    "rain; 0 for a gage that is not used")
    event_count = Quantity("event_count", "", Access.TOTAL, When.NEVER,
                           "rain events of the whole simulation; those of a run before count again")
    event_depth = Quantity("event_depth", "mm", Access.TOTAL, When.NEVER,
                           "rain of all these events")


class Node(ModelObject):
    """A node of any kind."""

    __slots__ = ()
    _class = ObjectClass.NODE

    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "inflow; of a node with a model inside, what is given to that")


class Junction(Node):
    """A junction."""

    __slots__ = ()

    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")


class Tank(Node):
    """A tank."""

    __slots__ = ()

    area_curve: Related["Curve"] = Related(Relation.TANK_CURVE, ObjectClass.CURVE,
                                           "curve of its areas")
    max_depth = Quantity("max_depth", "m", Access.PARAMETER, When.ALWAYS,
                         "full depth; from 0")
    initial_depth = Quantity("initial_depth", "m", Access.PARAMETER, When.WHEN_OPEN,
                             "depth at the start; from 0")
    initial_concentration = PollutantQuantity("initial_concentration", "mg/L", Access.PARAMETER, When.WHEN_OPEN,
                                              "concentration at the start")
    decay_coefficient = PollutantQuantity("decay_coefficient", "1/d", Access.PARAMETER, When.ALWAYS,
                                          "first-order decay; 0 is none. A pattern of the project file goes on to "
                                          "count")
    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    depth = Quantity("depth", "m", Access.STATE, When.WHEN_STARTED,
                     "depth; what exceeds the full depth floods in the next step; from 0")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored")
    stored_concentration = PollutantQuantity("stored_concentration", "mg/L", Access.STATE, When.NEVER,
                                             "concentration of the water stored, after the mixing")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    flooding = Quantity("flooding", "m3/s", Access.RESULT, When.NEVER,
                        "flooding")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")
    peak_depth = Quantity("peak_depth", "m", Access.TOTAL, When.NEVER,
                          "greatest depth")
    peak_volume = Quantity("peak_volume", "m3", Access.TOTAL, When.NEVER,
                           "volume at the greatest depth")
    flooded_volume = Quantity("flooded_volume", "m3", Access.TOTAL, When.NEVER,
                              "flooding")


class Outfall(Node):
    """An outfall."""

    __slots__ = ()

    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")
    outflow_mass = PollutantQuantity("outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                     "what left an outfall, or a reactor over the outgoing link")


class Splitter(Node):
    """A flow splitter."""

    __slots__ = ()

    split_link: Related["Link"] = Related(Relation.SPLITTER_LINK, ObjectClass.LINK,
                                          "the link that gets the split part")
    split_mode = Quantity("split_mode", "", Access.PARAMETER, When.NEVER,
                          "how a splitter divides: 0 FLOW, 1 RATIO, 2 FLOW_RATIO")
    split_value = Quantity("split_value", "", Access.PARAMETER, When.ALWAYS,
                           "threshold of a splitter, m3/s; in mode RATIO the share of the named link, at most 1. "
                           "A rule may move it; from 0")
    split_ratio = Quantity("split_ratio", "", Access.PARAMETER, When.ALWAYS,
                           "share of the named link in what exceeds the threshold; mode FLOW_RATIO; to 1")
    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    held_split = Quantity("held_split", "", Access.FORCING, When.WHEN_STARTED,
                          "value in place of split_value, and in its range; from 0")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    split_flow = Quantity("split_flow", "m3/s", Access.RESULT, When.NEVER,
                          "flow of a splitter to the link that is named")
    rest_flow = Quantity("rest_flow", "m3/s", Access.RESULT, When.NEVER,
                         "flow of a splitter to the other link")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")


class SwmmNode(Node):
    """A node with a SWMM model inside."""

    __slots__ = ()

    outflow = Quantity("outflow", "m3/s", Access.RESULT, When.NEVER,
                       "flow into the outgoing link; out of a model inside the node")


class Reactor(Node):
    """A treatment reactor."""

    __slots__ = ()

    surplus_node: Related["Node"] = Related(Relation.REACTOR_SURPASS, ObjectClass.NODE,
                                            "node that gets the flow above the capacity")
    emptying_node: Related["Node"] = Related(Relation.REACTOR_EMPTYING, ObjectClass.NODE,
                                             "node that the store is emptied to")
    initial_concentration = PollutantQuantity("initial_concentration", "mg/L", Access.PARAMETER, When.WHEN_OPEN,
                                              "concentration at the start")
    reactor_type = Quantity("reactor_type", "", Access.PARAMETER, When.NEVER,
                            "0 CSTR, a stirred tank; 1 PFR, plug flow")
    flow_capacity = Quantity("flow_capacity", "m3/d", Access.PARAMETER, When.ALWAYS,
                             "largest flow through a reactor, if its capacity is given as a flow; from 0")
    surface_loading = Quantity("surface_loading", "m/d", Access.PARAMETER, When.ALWAYS,
                               "largest flow through a reactor by its area, if its capacity is given so; from 0")
    area = Quantity("area", "m2", Access.PARAMETER, When.WHEN_OPEN,
                    "area; of a LID node above 0; from 0")
    retention_time = Quantity("retention_time", "h", Access.PARAMETER, When.WHEN_OPEN,
                              "time in a PFR; from 0")
    max_volume = Quantity("max_volume", "m3", Access.PARAMETER, When.WHEN_OPEN,
                          "volume of a CSTR, from which it overflows; above 0")
    initial_fill = Quantity("initial_fill", "%", Access.PARAMETER, When.WHEN_OPEN,
                            "how full a CSTR is at the start; from 0 to 100")
    reaction_type = PollutantQuantity("reaction_type", "", Access.PARAMETER, When.NEVER,
                                      "reaction in a reactor: -1 none, 0 CONST_CONCEN, 1 CONST_RATIO, 2 ZERO, 3 "
                                      "FIRST, 4 oxygen")
    reaction_coefficient = PollutantQuantity("reaction_coefficient", "", Access.PARAMETER, When.ALWAYS,
                                             "of the reaction in a reactor, if there is one: mg/L, share, mg/L "
                                             "per day or 1/d by its type; from 0")
    emptying_rate = Quantity("emptying_rate", "m3/h", Access.PARAMETER, When.ALWAYS,
                             "rate at which a CSTR empties when a rule wants it, if it has a node to be emptied "
                             "to; from 0")
    infiltration_rate = Quantity("infiltration_rate", "mm/h", Access.PARAMETER, When.ALWAYS,
                                 "infiltration out of a CSTR; from 0")
    evaporation_rate = Quantity("evaporation_rate", "mm/d", Access.PARAMETER, When.ALWAYS,
                                "evaporation of a CSTR, before its pattern is applied; from 0")
    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    held_emptying_rate = Quantity("held_emptying_rate", "m3/s", Access.FORCING, When.WHEN_STARTED,
                                  "rate in place of emptying_rate; from 0")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored")
    stored_concentration = PollutantQuantity("stored_concentration", "mg/L", Access.STATE, When.NEVER,
                                             "concentration of the water stored, after the mixing")
    is_emptying = Quantity("is_emptying", "", Access.STATE, When.NEVER,
                           "1 while a rule empties the reactor")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    outflow = Quantity("outflow", "m3/s", Access.RESULT, When.NEVER,
                       "flow into the outgoing link; out of a model inside the node")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    surplus_flow = Quantity("surplus_flow", "m3/s", Access.RESULT, When.NEVER,
                            "flow above the capacity of a reactor")
    emptying_flow = Quantity("emptying_flow", "m3/s", Access.RESULT, When.NEVER,
                             "emptying of a reactor")
    evaporation = Quantity("evaporation", "mm/d", Access.RESULT, When.NEVER,
                           "evaporation")
    infiltration = Quantity("infiltration", "mm/h", Access.RESULT, When.NEVER,
                            "seepage into the ground")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")
    surplus_volume = Quantity("surplus_volume", "m3", Access.TOTAL, When.NEVER,
                              "sum of the flow above the capacity of a reactor")
    emptied_volume = Quantity("emptied_volume", "m3", Access.TOTAL, When.NEVER,
                              "emptying of a reactor")
    outflow_volume = Quantity("outflow_volume", "m3", Access.TOTAL, When.NEVER,
                              "flow into the outgoing link")
    evaporated_volume = Quantity("evaporated_volume", "m3", Access.TOTAL, When.NEVER,
                                 "evaporation")
    infiltrated_volume = Quantity("infiltrated_volume", "m3", Access.TOTAL, When.NEVER,
                                  "seepage into the ground")
    outflow_mass = PollutantQuantity("outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                     "what left an outfall, or a reactor over the outgoing link")
    surplus_mass = PollutantQuantity("surplus_mass", "kg", Access.TOTAL, When.NEVER,
                                     "sum of the flow above the capacity of a reactor")
    emptied_mass = PollutantQuantity("emptied_mass", "kg", Access.TOTAL, When.NEVER,
                                     "emptying of a reactor")
    infiltrated_mass = PollutantQuantity("infiltrated_mass", "kg", Access.TOTAL, When.NEVER,
                                         "gone with the seepage")
    reacted_mass = PollutantQuantity("reacted_mass", "kg", Access.TOTAL, When.NEVER,
                                     "what has reacted")


class LidNode(Node):
    """A LID control that is a node."""

    __slots__ = ()

    drain_node: Related["Node"] = Related(Relation.LID_NODE_DRAIN, ObjectClass.NODE,
                                          "node that gets the underdrain")
    gage: Related["Gage"] = Related(Relation.LID_NODE_GAGE, ObjectClass.GAGE,
                                    "rain gage")
    area = Quantity("area", "m2", Access.PARAMETER, When.WHEN_OPEN,
                    "area; of a LID node above 0; from 0")
    width = Quantity("width", "m", Access.PARAMETER, When.ALWAYS,
                     "width of the outflow of a LID node; from 0")
    initial_saturation = Quantity("initial_saturation", "%", Access.PARAMETER, When.WHEN_OPEN,
                                  "how full the layers of a LID node are at the start; from 0 to 100")
    inflow_share = Quantity("inflow_share", "%", Access.PARAMETER, When.ALWAYS,
                            "share of the inflow that goes through a LID node; from 0 to 100")
    added_inflow = Quantity("added_inflow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                            "external inflow beside that of the project file; from 0")
    added_load = PollutantQuantity("added_load", "kg/s", Access.FORCING, When.WHEN_STARTED,
                                   "external load beside that of the project file; from 0")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored")
    surface_depth = Quantity("surface_depth", "m", Access.STATE, When.NEVER,
                             "depth on the surface of a LID node")
    soil_moisture = Quantity("soil_moisture", "", Access.STATE, When.NEVER,
                             "soil moisture, m3 of water per m3 of soil")
    storage_depth = Quantity("storage_depth", "m", Access.STATE, When.NEVER,
                             "depth in the storage of a LID node")
    pavement_depth = Quantity("pavement_depth", "m", Access.STATE, When.NEVER,
                              "depth in the pavement of a LID node")
    surface_concentration = PollutantQuantity("surface_concentration", "mg/L", Access.STATE, When.NEVER,
                                              "concentration on the surface of a LID node")
    soil_concentration = PollutantQuantity("soil_concentration", "mg/L", Access.STATE, When.NEVER,
                                           "concentration in the soil, as the rows of results have it")
    storage_concentration = PollutantQuantity("storage_concentration", "mg/L", Access.STATE, When.NEVER,
                                              "concentration in the storage of a LID node")
    pavement_concentration = PollutantQuantity("pavement_concentration", "mg/L", Access.STATE, When.NEVER,
                                               "concentration in the pavement of a LID node")
    upstream_flow = Quantity("upstream_flow", "m3/s", Access.RESULT, When.NEVER,
                             "inflow over links")
    lateral_flow = Quantity("lateral_flow", "m3/s", Access.RESULT, When.NEVER,
                            "inflow from the sides: runoff, drains, external and dry-weather inflow")
    outflow = Quantity("outflow", "m3/s", Access.RESULT, When.NEVER,
                       "flow into the outgoing link; out of a model inside the node")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration; of a tank after the decay, before the mixing")
    load = PollutantQuantity("load", "kg/s", Access.RESULT, When.NEVER,
                             "load of the inflow")
    rain = Quantity("rain", "mm/h", Access.RESULT, When.NEVER,
                    "rain of the gage of a LID node, 0 without one")
    evaporation = Quantity("evaporation", "mm/d", Access.RESULT, When.NEVER,
                           "evaporation")
    infiltration = Quantity("infiltration", "mm/h", Access.RESULT, When.NEVER,
                            "seepage into the ground")
    surface_flow = Quantity("surface_flow", "m3/s", Access.RESULT, When.NEVER,
                            "outflow over the surface of a LID node, with what passes around it")
    drain_flow = Quantity("drain_flow", "m3/s", Access.RESULT, When.NEVER,
                          "outflow through the underdrain of a LID node")
    surface_load = PollutantQuantity("surface_load", "kg/s", Access.RESULT, When.NEVER,
                                     "load over the surface of a LID node")
    drain_load = PollutantQuantity("drain_load", "kg/s", Access.RESULT, When.NEVER,
                                   "load through the underdrain of a LID node")
    inflow_volume = Quantity("inflow_volume", "m3", Access.TOTAL, When.NEVER,
                             "inflow")
    peak_inflow = Quantity("peak_inflow", "m3/s", Access.TOTAL, When.NEVER,
                           "greatest inflow")
    evaporated_volume = Quantity("evaporated_volume", "m3", Access.TOTAL, When.NEVER,
                                 "evaporation")
    infiltrated_volume = Quantity("infiltrated_volume", "m3", Access.TOTAL, When.NEVER,
                                  "seepage into the ground")
    unit_inflow_volume = Quantity("unit_inflow_volume", "m3", Access.TOTAL, When.NEVER,
                                  "what went through a LID node, with its rain")
    surface_outflow_volume = Quantity("surface_outflow_volume", "m3", Access.TOTAL, When.NEVER,
                                      "outflow over the surface of a LID node")
    drain_outflow_volume = Quantity("drain_outflow_volume", "m3", Access.TOTAL, When.NEVER,
                                    "outflow through the underdrain of a LID node")
    initial_storage = Quantity("initial_storage", "m3", Access.TOTAL, When.NEVER,
                               "water in a LID node at the start")
    final_storage = Quantity("final_storage", "m3", Access.TOTAL, When.NEVER,
                             "water in a LID node now, as its balance counts it")
    infiltrated_mass = PollutantQuantity("infiltrated_mass", "kg", Access.TOTAL, When.NEVER,
                                         "gone with the seepage")
    reacted_mass = PollutantQuantity("reacted_mass", "kg", Access.TOTAL, When.NEVER,
                                     "what has reacted")
    unit_inflow_mass = PollutantQuantity("unit_inflow_mass", "kg", Access.TOTAL, When.NEVER,
                                         "what went into a LID node, with its rain")
    surface_outflow_mass = PollutantQuantity("surface_outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                             "gone over the surface of a LID node")
    drain_outflow_mass = PollutantQuantity("drain_outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                           "gone through the underdrain of a LID node")
    final_mass = PollutantQuantity("final_mass", "kg", Access.TOTAL, When.NEVER,
                                   "in a LID node now")


class PlantNode(Node):
    """A node with a treatment plant inside."""

    __slots__ = ()

    outflow = Quantity("outflow", "m3/s", Access.RESULT, When.NEVER,
                       "flow into the outgoing link; out of a model inside the node")


class Link(ModelObject):
    """A link of any kind."""

    __slots__ = ()
    _class = ObjectClass.LINK

    upstream_node: Related["Node"] = Related(Relation.LINK_FROM, ObjectClass.NODE,
                                             "node at the upstream end")
    downstream_node: Related["Node"] = Related(Relation.LINK_TO, ObjectClass.NODE,
                                               "node at the downstream end")
    is_lagged = Quantity("is_lagged", "", Access.PARAMETER, When.NEVER,
                         "1 of a link that delivers what it had one step before")
    flow = Quantity("flow", "m3/s", Access.STATE, When.WHEN_STARTED,
                    "flow at the downstream end. To be set in pipes, until their next firing, and in lagged "
                    "links, for one step; all other links work theirs out again before it is used")
    setting = Quantity("setting", "", Access.STATE, When.NEVER,
                       "opening, 0 ... 1; connections and conduits have none that acts")
    target_setting = Quantity("target_setting", "", Access.STATE, When.NEVER,
                              "opening that rules and switches ask for")
    concentration = PollutantQuantity("concentration", "mg/L", Access.RESULT, When.NEVER,
                                      "concentration")
    flow_volume = Quantity("flow_volume", "m3", Access.TOTAL, When.NEVER,
                           "flow at the downstream end")
    peak_flow = Quantity("peak_flow", "m3/s", Access.TOTAL, When.NEVER,
                         "greatest flow")
    flooded_volume = Quantity("flooded_volume", "m3", Access.TOTAL, When.NEVER,
                              "flooding")
    peak_flooding = Quantity("peak_flooding", "m3/s", Access.TOTAL, When.NEVER,
                             "greatest flooding")


class Pipe(Link):
    """A pipe, routed by Muskingum's method."""

    __slots__ = ()

    k = Quantity("k", "s", Access.PARAMETER, When.WHEN_OPEN,
                 "Muskingum K of a reach, and the pipe's own period; not below the routing step; above 0")
    reach_count = Quantity("reach_count", "", Access.PARAMETER, When.WHEN_OPEN,
                           "Muskingum N, a whole number; from 1 to 2.14748e+09")
    x = Quantity("x", "", Access.PARAMETER, When.ALWAYS,
                 "Muskingum X; acts from the next firing on; from 0 to 0.5")
    max_flow = Quantity("max_flow", "m3/s", Access.PARAMETER, When.ALWAYS,
                        "largest outflow; 0 is no limit; from 0")
    decay_coefficient = PollutantQuantity("decay_coefficient", "1/d", Access.PARAMETER, When.ALWAYS,
                                          "first-order decay; 0 is none. A pattern of the project file goes on to "
                                          "count")
    held_setting = Quantity("held_setting", "", Access.FORCING, When.WHEN_STARTED,
                            "opening in place of what rules and switches ask for; a pipe obeys at its next "
                            "firing; from 0 to 1")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored")
    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "inflow")
    flooding = Quantity("flooding", "m3/s", Access.RESULT, When.NEVER,
                        "flooding")


class Pump(Link):
    """A pump."""

    __slots__ = ()

    initial_setting = Quantity("initial_setting", "", Access.PARAMETER, When.WHEN_OPEN,
                               "setting of a pump at the start: 0 or 1; from 0 to 1")
    startup_depth = Quantity("startup_depth", "m", Access.PARAMETER, When.ALWAYS,
                             "depth above which a pump starts; 0 is none, else above that at which it stops; from "
                             "0")
    shutoff_depth = Quantity("shutoff_depth", "m", Access.PARAMETER, When.ALWAYS,
                             "depth below which a pump stops; 0 is none; from 0")
    held_setting = Quantity("held_setting", "", Access.FORCING, When.WHEN_STARTED,
                            "opening in place of what rules and switches ask for; a pipe obeys at its next "
                            "firing; from 0 to 1")
    held_flow = Quantity("held_flow", "m3/s", Access.FORCING, When.WHEN_STARTED,
                         "flow of a pump in place of what curve and setting ask for, as far as its tank has "
                         "water; from 0")


class Connection(Link):
    """A connection, which delays its flow."""

    __slots__ = ()

    delay = Quantity("delay", "s", Access.PARAMETER, When.WHEN_OPEN,
                     "delay; from 0")
    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "inflow")


class Conduit(Link):
    """A conduit, routed as a kinematic wave."""

    __slots__ = ()

    length = Quantity("length", "m", Access.PARAMETER, When.WHEN_OPEN,
                      "length; not below CONDUIT_LENGTHENING; above 0")
    slope = Quantity("slope", "%", Access.PARAMETER, When.ALWAYS,
                     "slope; above 0")
    roughness = Quantity("roughness", "s/m^(1/3)", Access.PARAMETER, When.ALWAYS,
                         "Manning's n; above 0")
    shape = Quantity("shape", "", Access.PARAMETER, When.NEVER,
                     "0 CIRCULAR, 1 RECTANGULAR, 2 IRREGULAR of a conduit; 0 RECTANGULAR, 1 TRIANGULAR of a weir; "
                     "0 CIRCULAR, 1 RECTANGULAR of an orifice")
    conduit_height = Quantity("conduit_height", "m", Access.PARAMETER, When.WHEN_OPEN,
                              "diameter of a circle, height of a rectangle; above 0")
    conduit_width = Quantity("conduit_width", "m", Access.PARAMETER, When.WHEN_OPEN,
                             "width of a rectangle; above 0")
    decay_coefficient = PollutantQuantity("decay_coefficient", "1/d", Access.PARAMETER, When.ALWAYS,
                                          "first-order decay; 0 is none. A pattern of the project file goes on to "
                                          "count")
    depth = Quantity("depth", "m", Access.STATE, When.NEVER,
                     "depth")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored")
    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "inflow")
    flooding = Quantity("flooding", "m3/s", Access.RESULT, When.NEVER,
                        "flooding")
    velocity = Quantity("velocity", "m/s", Access.RESULT, When.NEVER,
                        "velocity; 0 in an empty conduit")
    peak_depth = Quantity("peak_depth", "m", Access.TOTAL, When.NEVER,
                          "greatest depth")
    peak_filling = Quantity("peak_filling", "", Access.TOTAL, When.NEVER,
                            "greatest depth by the full depth; 0 without one")
    peak_velocity = Quantity("peak_velocity", "m/s", Access.TOTAL, When.NEVER,
                             "greatest velocity")


class Weir(Link):
    """A weir."""

    __slots__ = ()

    shape = Quantity("shape", "", Access.PARAMETER, When.NEVER,
                     "0 CIRCULAR, 1 RECTANGULAR, 2 IRREGULAR of a conduit; 0 RECTANGULAR, 1 TRIANGULAR of a weir; "
                     "0 CIRCULAR, 1 RECTANGULAR of an orifice")
    weir_coefficient = Quantity("weir_coefficient", "m^0.5/s", Access.PARAMETER, When.ALWAYS,
                                "discharge coefficient of a weir; above 0")
    crest_length = Quantity("crest_length", "m", Access.PARAMETER, When.ALWAYS,
                            "length of the crest of a rectangular weir; above 0")
    crest = Quantity("crest", "m", Access.PARAMETER, When.ALWAYS,
                     "height of the crest above the bottom of the tank; from 0")
    opening = Quantity("opening", "m", Access.PARAMETER, When.ALWAYS,
                       "range by which the setting of a weir moves its crest; from 0")
    held_setting = Quantity("held_setting", "", Access.FORCING, When.WHEN_STARTED,
                            "opening in place of what rules and switches ask for; a pipe obeys at its next "
                            "firing; from 0 to 1")
    held_coefficient = Quantity("held_coefficient", "m^0.5/s", Access.FORCING, When.WHEN_STARTED,
                                "discharge coefficient of a weir in place of weir_coefficient; above 0")
    held_sill = Quantity("held_sill", "m", Access.FORCING, When.WHEN_STARTED,
                         "height of the sill of a weir above its crest, in place of what the setting makes it; "
                         "from 0")


class Orifice(Link):
    """An orifice."""

    __slots__ = ()

    shape = Quantity("shape", "", Access.PARAMETER, When.NEVER,
                     "0 CIRCULAR, 1 RECTANGULAR, 2 IRREGULAR of a conduit; 0 RECTANGULAR, 1 TRIANGULAR of a weir; "
                     "0 CIRCULAR, 1 RECTANGULAR of an orifice")
    orifice_height = Quantity("orifice_height", "m", Access.PARAMETER, When.ALWAYS,
                              "diameter or height of the opening; above 0")
    orifice_width = Quantity("orifice_width", "m", Access.PARAMETER, When.ALWAYS,
                             "width of a rectangular opening; above 0")
    orifice_coefficient = Quantity("orifice_coefficient", "", Access.PARAMETER, When.ALWAYS,
                                   "discharge coefficient of an orifice; above 0")
    crest = Quantity("crest", "m", Access.PARAMETER, When.ALWAYS,
                     "height of the crest above the bottom of the tank; from 0")
    held_setting = Quantity("held_setting", "", Access.FORCING, When.WHEN_STARTED,
                            "opening in place of what rules and switches ask for; a pipe obeys at its next "
                            "firing; from 0 to 1")


class Pollutant(ModelObject):
    """A pollutant."""

    __slots__ = ()
    _class = ObjectClass.POLLUTANT

    rain_concentration = Quantity("rain_concentration", "mg/L", Access.PARAMETER, When.ALWAYS,
                                  "concentration in rain; from 0")


class LandUse(ModelObject):
    """A land use."""

    __slots__ = ()
    _class = ObjectClass.LAND_USE

    buildup_limit = PollutantQuantity("buildup_limit", "kg/ha", Access.PARAMETER, When.ALWAYS,
                                      "limit of the buildup; from 0")
    buildup_rate = PollutantQuantity("buildup_rate", "1/d", Access.PARAMETER, When.ALWAYS,
                                     "rate of the buildup; from 0")
    washoff_type = PollutantQuantity("washoff_type", "", Access.PARAMETER, When.NEVER,
                                     "0 EXP, 1 EMC, 2 and more the types that act as EMC")
    uses_buildup = PollutantQuantity("uses_buildup", "", Access.PARAMETER, When.NEVER,
                                     "1 where the washoff takes its mass from the buildup")
    washoff_coefficient = PollutantQuantity("washoff_coefficient", "", Access.PARAMETER, When.ALWAYS,
                                            "coefficient of a washoff EXP; from 0")
    washoff_exponent = PollutantQuantity("washoff_exponent", "", Access.PARAMETER, When.ALWAYS,
                                         "exponent of a washoff EXP; from 0")
    washoff_concentration = PollutantQuantity("washoff_concentration", "mg/L", Access.PARAMETER, When.ALWAYS,
                                              "event-mean concentration of all types but EXP; from 0")
    washoff_removal = PollutantQuantity("washoff_removal", "", Access.PARAMETER, When.ALWAYS,
                                        "share removed on the land; may exceed 1; from 0")


class Lid(ModelObject):
    """The definition of a LID control."""

    __slots__ = ()
    _class = ObjectClass.LID

    lid_type = Quantity("lid_type", "", Access.PARAMETER, When.NEVER,
                        "0 BC, 1 RG, 2 GR, 3 IT, 4 PP, 5 RB, 6 VS")
    surface_depth = Quantity("surface_depth", "mm", Access.PARAMETER, When.WHEN_OPEN,
                             "height of the berm; from 0")
    vegetation_share = Quantity("vegetation_share", "", Access.PARAMETER, When.WHEN_OPEN,
                                "share of the surface that plants fill, below 1, where there is a berm; from 0 to "
                                "1")
    surface_roughness = Quantity("surface_roughness", "s/m^(1/3)", Access.PARAMETER, When.ALWAYS,
                                 "Manning's n of the surface; from 0")
    surface_slope = Quantity("surface_slope", "%", Access.PARAMETER, When.ALWAYS,
                             "slope of the surface, and of the mat of a roof; from 0")
    side_slope = Quantity("side_slope", "", Access.PARAMETER, When.WHEN_OPEN,
                          "slope of the sides of a swale, run per rise; from 0")
    pavement_depth = Quantity("pavement_depth", "mm", Access.PARAMETER, When.WHEN_OPEN,
                              "thickness of the pavement; above 0")
    pavement_void_ratio = Quantity("pavement_void_ratio", "", Access.PARAMETER, When.WHEN_OPEN,
                                   "voids by solids of the pavement; from 0")
    pavement_rate = Quantity("pavement_rate", "mm/h", Access.PARAMETER, When.ALWAYS,
                             "permeability of the pavement; above 0")
    soil_depth = Quantity("soil_depth", "mm", Access.PARAMETER, When.WHEN_OPEN,
                          "thickness of the soil; above 0")
    porosity = Quantity("porosity", "", Access.PARAMETER, When.WHEN_OPEN,
                        "porosity of the soil, above its field capacity; above 0")
    field_capacity = Quantity("field_capacity", "", Access.PARAMETER, When.WHEN_OPEN,
                              "field capacity of the soil, above its wilting point; from 0")
    wilting_point = Quantity("wilting_point", "", Access.PARAMETER, When.WHEN_OPEN,
                             "wilting point of the soil; from 0")
    conductivity = Quantity("conductivity", "mm/h", Access.PARAMETER, When.ALWAYS,
                            "saturated conductivity of the soil; above 0")
    conductivity_slope = Quantity("conductivity_slope", "", Access.PARAMETER, When.ALWAYS,
                                  "slope of the logarithm of the conductivity over the moisture deficit; from 0")
    storage_depth = Quantity("storage_depth", "mm", Access.PARAMETER, When.WHEN_OPEN,
                             "thickness of the storage, height of a barrel, where there is one; above 0")
    storage_void_ratio = Quantity("storage_void_ratio", "", Access.PARAMETER, When.WHEN_OPEN,
                                  "voids by solids of the storage; from 0")
    storage_rate = Quantity("storage_rate", "mm/h", Access.PARAMETER, When.ALWAYS,
                            "seepage into the ground; from 0")
    mat_depth = Quantity("mat_depth", "mm", Access.PARAMETER, When.WHEN_OPEN,
                         "thickness of the drainage mat of a roof; above 0")
    mat_void = Quantity("mat_void", "", Access.PARAMETER, When.WHEN_OPEN,
                        "void fraction of the mat; from 0")
    mat_roughness = Quantity("mat_roughness", "s/m^(1/3)", Access.PARAMETER, When.ALWAYS,
                             "Manning's n of the mat; from 0")
    drain_coefficient = Quantity("drain_coefficient", "", Access.PARAMETER, When.ALWAYS,
                                 "coefficient of the underdrain, mm/h per mm^exponent of head; from 0")
    drain_exponent = Quantity("drain_exponent", "", Access.PARAMETER, When.ALWAYS,
                              "exponent of the underdrain; from 0")
    drain_offset = Quantity("drain_offset", "mm", Access.PARAMETER, When.ALWAYS,
                            "height of the underdrain above the floor of the storage; from 0")
    drain_delay = Quantity("drain_delay", "h", Access.PARAMETER, When.ALWAYS,
                           "dry time before a barrel drains; from 0")
    surface_decay = PollutantQuantity("surface_decay", "1/d", Access.PARAMETER, When.ALWAYS,
                                      "first-order decay on the surface; 0 is none")
    pavement_decay = PollutantQuantity("pavement_decay", "1/d", Access.PARAMETER, When.ALWAYS,
                                       "first-order decay in the pavement; 0 is none")
    soil_decay = PollutantQuantity("soil_decay", "1/d", Access.PARAMETER, When.ALWAYS,
                                   "first-order decay in the soil; 0 is none")
    storage_decay = PollutantQuantity("storage_decay", "1/d", Access.PARAMETER, When.ALWAYS,
                                      "first-order decay in the storage, of a roof in its mat; 0 is none")


class LidUnit(ModelObject):
    """A LID control on a subcatchment."""

    __slots__ = ()
    _class = ObjectClass.LID_UNIT

    subcatchment: Related["Subcatchment"] = Related(Relation.UNIT_SUBCATCHMENT, ObjectClass.SUBCATCHMENT,
                                                    "subcatchment that it is on")
    lid: Related["Lid"] = Related(Relation.UNIT_LID, ObjectClass.LID,
                                  "its definition")
    drain_node: Related["Node"] = Related(Relation.UNIT_DRAIN, ObjectClass.NODE,
                                          "node that gets the underdrain")
    area = Quantity("area", "m2", Access.PARAMETER, When.WHEN_OPEN,
                    "area; all units of a subcatchment must find room on it; above 0")
    width = Quantity("width", "m", Access.PARAMETER, When.ALWAYS,
                     "width of the outflow; of a swale above 0; from 0")
    initial_saturation = Quantity("initial_saturation", "%", Access.PARAMETER, When.WHEN_OPEN,
                                  "how full the layers are at the start; from 0 to 100")
    inflow_share = Quantity("inflow_share", "%", Access.PARAMETER, When.ALWAYS,
                            "share of the runoff of its land that a unit takes; those of a subcatchment make at "
                            "most 100.1 together; from 0 to 100.1")
    volume = Quantity("volume", "m3", Access.STATE, When.NEVER,
                      "water stored in all layers, after the last runoff step")
    surface_depth = Quantity("surface_depth", "m", Access.STATE, When.NEVER,
                             "depth on the surface")
    soil_moisture = Quantity("soil_moisture", "", Access.STATE, When.NEVER,
                             "soil moisture, m3 of water per m3 of soil")
    storage_depth = Quantity("storage_depth", "m", Access.STATE, When.NEVER,
                             "depth in the storage")
    pavement_depth = Quantity("pavement_depth", "m", Access.STATE, When.NEVER,
                              "depth in the pavement")
    dry_time = Quantity("dry_time", "h", Access.STATE, When.NEVER,
                        "time since it rained")
    surface_concentration = PollutantQuantity("surface_concentration", "mg/L", Access.STATE, When.NEVER,
                                              "concentration on the surface")
    soil_concentration = PollutantQuantity("soil_concentration", "mg/L", Access.STATE, When.NEVER,
                                           "concentration in the soil, over porosity times moisture")
    storage_concentration = PollutantQuantity("storage_concentration", "mg/L", Access.STATE, When.NEVER,
                                              "concentration in the storage")
    pavement_concentration = PollutantQuantity("pavement_concentration", "mg/L", Access.STATE, When.NEVER,
                                               "concentration in the pavement")
    inflow = Quantity("inflow", "m3/s", Access.RESULT, When.NEVER,
                      "rain and runoff that come in, in the last runoff step, as all below")
    evaporation = Quantity("evaporation", "mm/d", Access.RESULT, When.NEVER,
                           "evaporation")
    infiltration = Quantity("infiltration", "mm/h", Access.RESULT, When.NEVER,
                            "seepage into the ground")
    surface_flow = Quantity("surface_flow", "m3/s", Access.RESULT, When.NEVER,
                            "outflow over the surface")
    drain_flow = Quantity("drain_flow", "m3/s", Access.RESULT, When.NEVER,
                          "outflow through the underdrain")
    surface_load = PollutantQuantity("surface_load", "kg/s", Access.RESULT, When.NEVER,
                                     "load over the surface")
    drain_load = PollutantQuantity("drain_load", "kg/s", Access.RESULT, When.NEVER,
                                   "load through the underdrain")
    inflow_depth = Quantity("inflow_depth", "mm", Access.TOTAL, When.NEVER,
                            "rain and runoff that came in, over the area of the unit")
    evaporated_depth = Quantity("evaporated_depth", "mm", Access.TOTAL, When.NEVER,
                                "evaporation")
    infiltrated_depth = Quantity("infiltrated_depth", "mm", Access.TOTAL, When.NEVER,
                                 "seepage into the ground")
    surface_outflow_depth = Quantity("surface_outflow_depth", "mm", Access.TOTAL, When.NEVER,
                                     "outflow over the surface")
    drain_outflow_depth = Quantity("drain_outflow_depth", "mm", Access.TOTAL, When.NEVER,
                                   "outflow through the underdrain")
    initial_storage = Quantity("initial_storage", "mm", Access.TOTAL, When.NEVER,
                               "water in the unit at the start")
    final_storage = Quantity("final_storage", "mm", Access.TOTAL, When.NEVER,
                             "water in the unit now, as its balance counts it")
    unit_inflow_mass = PollutantQuantity("unit_inflow_mass", "kg", Access.TOTAL, When.NEVER,
                                         "what came in, with rain")
    infiltrated_mass = PollutantQuantity("infiltrated_mass", "kg", Access.TOTAL, When.NEVER,
                                         "gone with the seepage")
    surface_outflow_mass = PollutantQuantity("surface_outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                             "gone over the surface")
    drain_outflow_mass = PollutantQuantity("drain_outflow_mass", "kg", Access.TOTAL, When.NEVER,
                                           "gone through the underdrain")
    reacted_mass = PollutantQuantity("reacted_mass", "kg", Access.TOTAL, When.NEVER,
                                     "what has reacted")
    final_mass = PollutantQuantity("final_mass", "kg", Access.TOTAL, When.NEVER,
                                   "in the unit now")


class Rule(ModelObject):
    """A control rule."""

    __slots__ = ()
    _class = ObjectClass.RULE

    priority = Quantity("priority", "", Access.PARAMETER, When.ALWAYS,
                        "of rules that act on one object the higher one wins")
    is_fulfilled = Quantity("is_fulfilled", "", Access.STATE, When.NEVER,
                            "1 while the step that was made last began with the conditions fulfilled")
    fired_count = Quantity("fired_count", "", Access.TOTAL, When.NEVER,
                           "how often the conditions became fulfilled, at the start included")
    fulfilled_time = Quantity("fulfilled_time", "h", Access.TOTAL, When.NEVER,
                              "time of all steps that began with the conditions fulfilled")


class Curve(ModelObject):
    """A curve."""

    __slots__ = ()
    _class = ObjectClass.CURVE

    point_count = Quantity("point_count", "", Access.PARAMETER, When.NEVER,
                           "points")


class Series(ModelObject):
    """A time series."""

    __slots__ = ()
    _class = ObjectClass.SERIES


class Pattern(ModelObject):
    """A pattern."""

    __slots__ = ()
    _class = ObjectClass.PATTERN

    factor_count = Quantity("factor_count", "", Access.PARAMETER, When.NEVER,
                            "factors that the project file gives; the others are 0")


# By class and kind; -1 stands for an object of a class without kinds.
CLASSES: Dict[Tuple[ObjectClass, int], Type[ModelObject]] = {
    (ObjectClass.SYSTEM, -1): System,
    (ObjectClass.SUBCATCHMENT, -1): Subcatchment,
    (ObjectClass.GAGE, -1): Gage,
    (ObjectClass.NODE, -1): Node,
    (ObjectClass.NODE, 0): Junction,
    (ObjectClass.NODE, 1): Tank,
    (ObjectClass.NODE, 2): Outfall,
    (ObjectClass.NODE, 3): Splitter,
    (ObjectClass.NODE, 4): SwmmNode,
    (ObjectClass.NODE, 5): Reactor,
    (ObjectClass.NODE, 6): LidNode,
    (ObjectClass.NODE, 7): PlantNode,
    (ObjectClass.LINK, -1): Link,
    (ObjectClass.LINK, 0): Pipe,
    (ObjectClass.LINK, 1): Pump,
    (ObjectClass.LINK, 2): Connection,
    (ObjectClass.LINK, 3): Conduit,
    (ObjectClass.LINK, 4): Weir,
    (ObjectClass.LINK, 5): Orifice,
    (ObjectClass.POLLUTANT, -1): Pollutant,
    (ObjectClass.LAND_USE, -1): LandUse,
    (ObjectClass.LID, -1): Lid,
    (ObjectClass.LID_UNIT, -1): LidUnit,
    (ObjectClass.RULE, -1): Rule,
    (ObjectClass.CURVE, -1): Curve,
    (ObjectClass.SERIES, -1): Series,
    (ObjectClass.PATTERN, -1): Pattern,
}
