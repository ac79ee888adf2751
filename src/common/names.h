#pragma once

// The only place where names of filters, store tables, columns and display attributes are written.

namespace lanefeed_1::names {

// Filters. This library writes the selection and the dive; the host makes the global one.
inline constexpr char kGlobalFilter[] = "global";
inline constexpr char kSelectionFilter[] = "selection";
inline constexpr char kSelectionSlaveFilter[] = "selectionSlave";
inline constexpr char kDiveFilter[] = "deep_view_selection_filter";
inline constexpr char kDoiFilter[] = "timeline_doi";
inline constexpr char kPauseFilter[] = "pause";

// Name of the grouper over all data.
inline constexpr char kGlobalGrouper[] = "global_data_grouper";

// Value types and words of generated queries.
inline constexpr char kTickValueType[] = "tsc";
inline constexpr char kTime[] = "time";
inline constexpr char kPercent[] = "percent";
inline constexpr char kSeparator[] = " / ";

// Between table and path, and between the parts of a path.
inline constexpr char kTableSeparator[] = "::";
inline constexpr char kPathSeparator[] = ".";

// Tables and columns of the store.
inline constexpr char kBandTable[] = "dd_band";
inline constexpr char kThreadTable[] = "dd_thread";
inline constexpr char kRowIdColumn[] = "rowid";
inline constexpr char kStartColumn[] = "start_tsc";
inline constexpr char kEndColumn[] = "end_tsc";
inline constexpr char kAttrColumn[] = "attr";
inline constexpr char kCountColumn[] = "count";
inline constexpr char kSourceStartColumn[] = "multi_band_start_tsc";
inline constexpr char kSourceBandColumn[] = "multi_band_index";

// Display attributes of queries.
inline constexpr char kRequiredFilter[] = "timelineRequiredFilter";
inline constexpr char kObjectType[] = "timelineObjectType";
inline constexpr char kMergeDataMode[] = "timelineMergeDataMode";
inline constexpr char kAllowCollapse[] = "allowCollapse";
inline constexpr char kHideZeroData[] = "hideZeroDataOnExpansion";
inline constexpr char kGraphColor[] = "timelineGraphColor";
inline constexpr char kFilterColor[] = "timelineFilterColor";
inline constexpr char kDecimationColor[] = "timelineDecimationColor";
inline constexpr char kBinMult[] = "timelineBinMult";
inline constexpr char kPenWidth[] = "timelinePenWidth";
inline constexpr char kPenStyle[] = "timelinePenStyle";
inline constexpr char kIconType[] = "timelineIconType";
inline constexpr char kFormat[] = "timelineFormat";
inline constexpr char kTimeScale[] = "timeScalems";
inline constexpr char kResolution[] = "minimumResolutionms";
inline constexpr char kMarker[] = "marker";
inline constexpr char kMarkerSize[] = "markerSize";
inline constexpr char kLifetimeStart[] = "lifetimeStart";
inline constexpr char kLifetimeEnd[] = "lifetimeEnd";

}  // namespace lanefeed_1::names
