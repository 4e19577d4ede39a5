-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" ORDER BY "Name" DESC, "No_" DESC
