-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ((("Created" >= {d '2024-02-29'}) AND ("No_" > 3))) ORDER BY "No_"
