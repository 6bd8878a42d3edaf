#pragma once

#include <QString>

// The two quantities of a parts line with their units, as the printed list shows them in one cell:
// "R=2 L=2", "計4", "R/L×2", "3個", "3", or two halves joined by one blank ("3個 2本", " L=3").
struct QuantityPair {
    QString qty1;
    QString unit1;
    QString qty2;
    QString unit2;
    friend bool operator==(const QuantityPair&, const QuantityPair&) = default;
};

// Reads a printed quantity text back into its quantities and units. An empty text gives an empty
// pair. Returns false (and leaves the pair empty) when the text is not a quantity notation.
bool ParseQuantityText(const QString& text, QuantityPair& out);
// One half: "R=2", "計4", "R/L×2", "3個", "3" or empty.
bool ParseQuantityHalf(const QString& half, QString& qty, QString& unit);
