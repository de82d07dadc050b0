#pragma once
// The steps of the load-time normalisation. Each leaves a whole document behind and returns false when the user
// cancels.

#include "core/normalise/pass.h"

namespace tervo::fixup {

/// Clears what a region says about its waveform that is not so, and cuts loops to the frames that are there.
bool repairItems(Pass& pass);
/// The same for one region.
void repairRegion(ConversionReport& report, Region& region);

/// Every two-channel waveform becomes two one-channel ones: the waveform itself ("-L") and one behind it ("-R"). Each
/// of its regions gets a twin behind it in its layer; the two are panned to the sides. Frames are shared, not copied.
bool splitStereo(Pass& pass);

/// The inverse, for waveforms whose names differ only in the channel that they end with. They must agree in everything
/// but that, in length within a frame, and must be played by the same regions, the left one's panned hard left and the
/// right one's hard right. The left waveform and its regions stay.
bool mergeStereo(Pass& pass);
/// Gives the left channel the tags and the picture that only the right one has, and reports what is lost of the right
/// one because the left one has another.
void takeExtras(Waveform& left, const Waveform& right, ConversionReport& report);

/// Alternating and reverse loops become forward loops over frames in the order in which the loop played them. Regions
/// that play the waveform without that loop get a waveform of their own.
///
/// An alternating loop plays its last frame once, then the one before it and so on down to its first, once, and up
/// again. A reverse loop is entered from the front: after its last frame the one before it down to its first, then its
/// last frame again and down.
bool unrollLoops(Pass& pass);

/// Lets at least 32 frames follow the end of every loop. They are those that the loop plays when it goes on.
bool appendFrames(Pass& pass);

/// Drops waveforms that sound like one of the collection that they are merged into; regions play that one instead.
bool removeDuplicates(Pass& pass);

/// Makes one layer of layers of which no two regions can sound at the same key and velocity, cross-fade ranges
/// included. What the layers set differently moves down to their regions.
bool compactLayers(Pass& pass);

/// Moves articulation rows that all regions of a layer, and then all layers of an instrument, set alike one level up.
bool moveArticulationUp(Pass& pass);
/// Moves trigger rows that all regions of a layer set alike to the layer.
bool moveTriggerUp(Pass& pass);

/// Appends numbers to names that another waveform (or instrument) has already, there or among the loaded ones. Names
/// that differ only in case count as one, because files are named after them.
bool makeNamesUnique(Pass& pass);

/// By drum flag, bank (CC 0, then CC 32) and program; equal ones keep their order.
void sortInstruments(Collection& collection);
/// By name, numbers in names by their value, upper and lower case alike; equal ones keep their order.
void sortWaveforms(Collection& collection);

}  // namespace tervo::fixup
