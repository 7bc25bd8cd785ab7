// Functions for the records of a batch, GETMULTIPAR or SETMULTIPAR.
#pragma once

// False for the record that ends a batch.
template <typename RECORD>
bool IsRecord(RECORD const& record) {
    return record.key && *record.key;
}

// The record that ends a batch; null for null.
template <typename RECORD>
RECORD* EndOf(RECORD* records) {
    while (records && IsRecord(*records)) ++records;
    return records;
}

template <typename RECORD>
void ClearResults(RECORD* records, RECORD const* end) {
    for (; records != end; ++records) records->result = false;
}
template <typename RECORD>
void ClearResults(RECORD* records) {
    ClearResults(records, EndOf(records));
}
