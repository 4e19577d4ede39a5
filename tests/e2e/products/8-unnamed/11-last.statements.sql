-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" ORDER BY "No_" DESC
